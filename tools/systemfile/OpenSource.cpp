#include "tools/systemfile/OpenSource.h"

#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string_view>
#include <system_error>

#include "Columns/dictionary/DictionaryFacts.h"
#include "Platform/messages/ThrowError.h"
#include "datasrc/CryptFile.h"
#include "datasrc/SystemFileCheck.h"
#include "datasrc/UTF8DataSource.h"
#include "tools/messages/Report.h"

namespace tool {

namespace {

constexpr int kCannotOpen = 1201;
constexpr int kMalformed = 1204;
// These letters follow the 8-byte length of the block that contains them.
constexpr std::string_view kEncryptedLetters = "ENCRYPTEDSAV";
constexpr std::size_t kEncryptedStart = 8 + kEncryptedLetters.size();

void RefuseIrregularFile(const std::string& file) {
  std::error_code none;
  const auto status = std::filesystem::status(file, none);
  if (!std::filesystem::exists(status) || std::filesystem::is_regular_file(status)) return;
  errno = std::filesystem::is_directory(status) ? EISDIR : ESPIPE;
  ThrowError::StringSys(kDatasrcCatalog, kCannotOpen, file.c_str());
}

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
  const SystemFileDataSource::TemporaryCodePage codePage(encoding, 0);
  return std::make_unique<SystemFileDataSource>(ExtNameStr(file), password, false);
}

void ShowNames(QUAV_DataSource& data, const QUAV_DataSource& shown) {
  for (int column = 0; column < static_cast<int>(data.ColumnCount()); ++column)
    data.GetVariable(column).SetName(shown.GetVariable(column).GetName());
}

}  // namespace

OpenedSource OpenSource(const std::string& file, const ExtNameStr& password) {
  const FirstLook look(file, password);
  Warnings warnings(file);
  SourceLine data(SystemFileDataSource::GetSystemFile(ExtNameStr(file), password, false, &warnings));
  const SystemFileDataSource* const behind = dstext::FileBehind(*data);
  return {std::move(data), behind};
}

OpenedSource OpenAsStored(const std::string& file, const ExtNameStr& password) {
  const FirstLook look(file, password);
  auto data = std::make_unique<SystemFileDataSource>(ExtNameStr(file), password, false);
  if (!data->IsCompatibleEncoding()) {
    const std::string encoding = data->CharacterEncoding();
    data = OpenIn(encoding, file, password);
    ShowNames(*data, UTF8DataSource(*data, encoding, nullptr));
  }
  const SystemFileDataSource* const behind = data.get();
  return {SourceLine(data.release()), behind};
}

bool IsEncrypted(const std::string& file) {
  std::array<char, kEncryptedStart> start{};
  std::ifstream(file, std::ios::binary).read(start.data(), start.size());
  return std::string_view(start.data(), start.size()).ends_with(kEncryptedLetters);
}

void Warnings::Warning(const Message& message) { ReportWarning(message.number, message.text, m_file); }

}  // namespace tool
