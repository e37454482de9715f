#include "tools/systemfile/OpenSource.h"

#include <unistd.h>

#include <array>
#include <string_view>

#include "Columns/dictionary/DictionaryFacts.h"
#include "Platform/stream/QUAV_FileStream.h"
#include "datasrc/UTF8DataSource.h"
#include "tools/files/StandardInput.h"
#include "tools/messages/Report.h"

namespace tool {

namespace {

constexpr std::string_view kPlainLetters = "$FL";  // a file in EBCDIC has other bytes
// These letters follow the 8-byte length of the block that contains them.
constexpr std::string_view kEncryptedLetters = "ENCRYPTEDSAV";
constexpr std::size_t kEncryptedStart = 8 + kEncryptedLetters.size();

void ShowNames(QUAV_DataSource& data, const QUAV_DataSource& shown) {
  for (int column = 0; column < static_cast<int>(data.ColumnCount()); ++column)
    data.GetVariable(column).SetName(shown.GetVariable(column).GetName());
}

}  // namespace

OpenedSource OpenSource(const std::string& name, const ExtNameStr& password) {
  const std::string file = PathOfInput(name);
  Warnings warnings(file);
  SourceLine data = dstext::OpenInPresentEncoding(file, PasswordFor(file, password), &warnings);
  const SystemFileDataSource* const behind = dstext::FileBehind(*data);
  return {std::move(data), behind};
}

OpenedSource OpenAsStored(const std::string& file, const ExtNameStr& password) {
  auto data = dstext::OpenAsStored(file, password);
  if (!data->IsCompatibleEncoding()) ShowNames(*data, UTF8DataSource(*data, data->CharacterEncoding(), nullptr));
  const SystemFileDataSource* const behind = data.get();
  return {SourceLine(data.release()), behind};
}

ExtNameStr PasswordFor(const std::string& file, const ExtNameStr& password) {
  if (password.Empty() || IsEncrypted(file) || access(file.c_str(), R_OK) != 0) return password;
  WarnOfPassword(file);
  return {};
}

void WarnOfPassword(const std::string& file) {
  ReportWarning("the file is not encrypted, so the password is not used", file);
}

bool IsSystemFileStart(std::string_view bytes) {
  return bytes.starts_with(kPlainLetters) || bytes.substr(0, kEncryptedStart).ends_with(kEncryptedLetters);
}

bool IsEncrypted(const std::string& file) {
  std::array<char, kEncryptedStart> start{};
  QUAV_FileStream stream;
  if (stream.Open(file.c_str(), "rb") == 0) return false;
  return std::string_view(start.data(), stream.Read(start.data(), start.size())).ends_with(kEncryptedLetters);
}

void Warnings::Warning(const Message& message) { ReportWarning(message.number, message.text, m_file); }

}  // namespace tool
