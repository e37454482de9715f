#include "tools/systemfile/OpenSource.h"

#include <array>
#include <fstream>
#include <string_view>

#include "Columns/dictionary/DictionaryFacts.h"
#include "datasrc/UTF8DataSource.h"
#include "tools/messages/Report.h"

namespace tool {

namespace {

// These letters follow the 8-byte length of the block that contains them.
constexpr std::string_view kEncryptedLetters = "ENCRYPTEDSAV";
constexpr std::size_t kEncryptedStart = 8 + kEncryptedLetters.size();

void ShowNames(QUAV_DataSource& data, const QUAV_DataSource& shown) {
  for (int column = 0; column < static_cast<int>(data.ColumnCount()); ++column)
    data.GetVariable(column).SetName(shown.GetVariable(column).GetName());
}

}  // namespace

OpenedSource OpenSource(const std::string& file, const ExtNameStr& password) {
  Warnings warnings(file);
  SourceLine data = dstext::OpenInPresentEncoding(file, password, &warnings);
  const SystemFileDataSource* const behind = dstext::FileBehind(*data);
  return {std::move(data), behind};
}

OpenedSource OpenAsStored(const std::string& file, const ExtNameStr& password) {
  auto data = dstext::OpenAsStored(file, password);
  if (!data->IsCompatibleEncoding()) ShowNames(*data, UTF8DataSource(*data, data->CharacterEncoding(), nullptr));
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
