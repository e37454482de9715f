#include "Columns/dictionary/FileOpening.h"

#include <cerrno>
#include <filesystem>
#include <optional>
#include <system_error>

#include "Platform/messages/ThrowError.h"
#include "datasrc/CryptFile.h"
#include "datasrc/QUAV_InputCaseIterator.h"
#include "datasrc/SystemFileCheck.h"

namespace dstext {

namespace {

constexpr int kCannotOpen = 1201;
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

SourceLine OpenInPresentEncoding(const std::string& file, const ExtNameStr& password, ErrorMonitor* monitor) {
  const FirstLook look(file, password);
  return SourceLine(SystemFileDataSource::GetSystemFile(ExtNameStr(file), password, false, monitor));
}

std::unique_ptr<SystemFileDataSource> OpenAsStored(const std::string& file, const ExtNameStr& password) {
  const FirstLook look(file, password);
  auto data = std::make_unique<SystemFileDataSource>(ExtNameStr(file), password, false);
  if (data->IsCompatibleEncoding()) return data;
  const std::string encoding = data->CharacterEncoding();
  return OpenIn(encoding, file, password);
}

bool LacksCells(const SystemFileDataSource& file) {
  if (file.ColumnCount() == 0) return false;
  const std::unique_ptr<QUAV_InputCaseIterator> cases(file.MakeIterator(nullptr));
  return ReadsEmptyCase(*cases);
}

}  // namespace dstext
