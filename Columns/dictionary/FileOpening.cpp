#include "Columns/dictionary/FileOpening.h"

#include <array>
#include <cerrno>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "Columns/files/FileFailure.h"
#include "Platform/messages/ThrowError.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/CodePageDataSource.h"
#include "datasrc/CryptFile.h"
#include "datasrc/QUAV_InputCaseIterator.h"
#include "datasrc/SystemFileCheck.h"
#include "datasrc/UTF8DataSource.h"

namespace dstext {

namespace {

constexpr int kMalformed = 1204;

void RefuseFatalRecord(QUAV_FileStream& contents, const std::string& file) {
  const std::optional<FatalRecord> fatal = FindFatalRecord(contents);
  if (!fatal) return;
  const std::string text = static_cast<const char*>(QuavServerErrorText(kDatasrcCatalog, kMalformed));
  QuavServerError error(kMalformed, text + " (\"" + fatal->assertion + "\" does not hold)", file);
  error.SetPlace(fatal->place);
  throw error;
}

// Checks a file before the library opens it. While this object lives, the key of an encrypted file stays known, also a
// wrong key, so that opening the file in the meantime does not derive it again.
class FirstLook {
 public:
  FirstLook(const std::string& file, const ExtNameStr& password) {
    RefuseIrregularFile(file);
    // A file that does not open has no flaw here: the library reports the reason.
    if (password.Empty()) {
      QUAV_FileStream contents(file.c_str(), "rb", false);
      if (contents.IsOpen()) RefuseFatalRecord(contents, file);
    } else if (m_contents.open(ExtNameStr(file), password, ExtNameStr("rb"))) {
      RefuseFatalRecord(m_contents.decrypted(), file);
    }
  }

 private:
  CryptFile m_contents;
};

std::unique_ptr<SystemFileDataSource> OpenIn(const std::string& encoding, const std::string& file,
                                             const ExtNameStr& password) {
  const ExtNameStr name(file);  // in the process's encoding
  const SystemFileDataSource::TemporaryCodePage codePage(encoding, 0);
  return std::make_unique<SystemFileDataSource>(name, password, false);
}

// Returns the name that a file with the number of the encoding has for it, or for one without a number the given name.
std::string EncodingOfThatName(const std::string& name) {
  if (!QUAVMBConverterPtr(QUAVMBConverterNew_A(name.c_str())))
    throw std::invalid_argument("'" + name + "' is not an encoding that a file can have");
  int number = 0;
  std::array<char, kCodePageNameSize> usual;
  const bool isNumbered =
      QUAVMBCpNameToNum_A(name.c_str(), &number) != 0 && QUAVMBCpNameFromNum_A(usual.data(), number) != 0;
  return isNumbered ? usual.data() : name;
}

// Opens a file whose text is in the encoding, whatever the file states.
std::unique_ptr<SystemFileDataSource> OpenAsIfIn(const std::string& encoding, const std::string& file,
                                                 const ExtNameStr& password) {
  const std::string name = EncodingOfThatName(encoding);
  const FirstLook look(file, password);
  auto data = OpenIn(name, file, password);
  data->CharacterEncoding(name);
  return data;
}

// Shows a file in the process's encoding, by the rules of GetSystemFile.
SourceLine Shown(std::unique_ptr<SystemFileDataSource> file, ErrorMonitor* monitor) {
  const std::string encoding = file->CharacterEncoding();
  std::unique_ptr<QUAV_DataSource> view;
  if (!file->IsCompatibleEncoding()) {
    if (qUTF8mode() != 0)
      view = std::make_unique<UTF8DataSource>(*file, encoding, monitor);
    else if (encoding == kUtf8Name)
      view = std::make_unique<CodePageDataSource>(*file, QUAVMBDefaultCodePage(), monitor, false);
  }
  QUAV_DataSource& shown = view ? *view : *file;
  shown.SetDirty(false);
  // The view, if there is one, owns the file from here on (LineDeleter).
  static_cast<void>(file.release());
  static_cast<void>(view.release());
  return SourceLine(&shown);
}

// Without cells, Next says that there is a case, but does not advance.
bool ReadsEmptyCase(QUAV_InputCaseIterator& cases) {
  try {
    return cases.Next() != 0 && cases.Tell() == 0;
  } catch (const QuavServerError&) {
    return false;  // there are cells, but damaged ones
  }
}

}  // namespace

void RefuseIrregularFile(const std::string& file) {
  std::error_code none;
  const auto status = std::filesystem::status(file, none);
  if (!std::filesystem::exists(status) || std::filesystem::is_regular_file(status)) return;
  errno = std::filesystem::is_directory(status) ? EISDIR : ESPIPE;
  ThrowError::StringSys(kDatasrcCatalog, kCannotOpen, file.c_str());
}

SourceLine OpenInPresentEncoding(const std::string& file, const ExtNameStr& password, ErrorMonitor* monitor,
                                 const std::string& encoding) {
  if (!encoding.empty()) return Shown(OpenAsIfIn(encoding, file, password), monitor);
  const FirstLook look(file, password);
  return SourceLine(SystemFileDataSource::GetSystemFile(ExtNameStr(file), password, false, monitor));
}

std::unique_ptr<SystemFileDataSource> OpenAsStored(const std::string& file, const ExtNameStr& password,
                                                   const std::string& encoding) {
  if (!encoding.empty()) return OpenAsIfIn(encoding, file, password);
  const FirstLook look(file, password);
  auto data = std::make_unique<SystemFileDataSource>(ExtNameStr(file), password, false);
  if (data->IsCompatibleEncoding()) return data;
  const std::string stated = data->CharacterEncoding();
  return OpenIn(stated, file, password);
}

bool LacksCells(const SystemFileDataSource& file) {
  if (file.ColumnCount() == 0) return false;
  const std::unique_ptr<QUAV_InputCaseIterator> cases(file.MakeIterator(nullptr));
  return ReadsEmptyCase(*cases);
}

}  // namespace dstext
