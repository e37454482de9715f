#include "tools/dictionary/DictionaryFile.h"

#include <array>

#include "Columns/dictionary/DictionaryJsonError.h"
#include "Columns/dictionary/JsonDictionary.h"
#include "tools/files/InputBytes.h"
#include "tools/messages/Report.h"
#include "tools/messages/ToolError.h"

namespace tool {

using namespace dstext;

std::unique_ptr<SystemFileDataSource> ReadDictionaryFile(const std::string& file, const std::string& encoding) {
  try {
    JsonDictionary read = ReadDictionaryJson(ReadDictionaryText(file), encoding);
    for (const std::string& warning : read.warnings) ReportWarning(warning, file);
    return std::move(read.dictionary);
  } catch (const DictionaryJsonError& error) {
    throw ToolError(error.what(), file);
  }
}

std::string ReadDictionaryText(const std::string& file) {
  InputBytes input(file);
  input.ReadOnce();
  std::string text;
  std::array<char, 65536> piece;
  while (const std::size_t count = input.Read(piece.data(), piece.size())) text.append(piece.data(), count);
  return text;
}

}  // namespace tool
