#include "Columns/dictionary/UnknownBlocks.h"

#include <limits>
#include <set>
#include <string>

#include "Columns/dictionary/DictionaryJsonError.h"
#include "Columns/dictionary/JsonNode.h"
#include "Columns/dictionary/JsonTree.h"

namespace dstext {

namespace {

constexpr std::string_view kDigits = "0123456789abcdef";

std::string HexText(std::string_view bytes) {
  std::string text;
  for (const char byte : bytes) {
    text += kDigits[static_cast<unsigned char>(byte) >> 4];
    text += kDigits[static_cast<unsigned char>(byte) & 15];
  }
  return text;
}

std::string BytesOf(const JsonNode& node) {
  const std::string text = node.Text();
  if (text.size() % 2 != 0 || text.find_first_not_of(kDigits) != text.npos) node.Fail("is not in hexadecimal digits");
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); i += 2)
    bytes += static_cast<char>(kDigits.find(text[i]) << 4 | kDigits.find(text[i + 1]));
  return bytes;
}

void AddBlock(QUAV_DataSource& source, const JsonNode& node) {
  constexpr long long kMost = std::numeric_limits<int>::max();
  const auto type = static_cast<int>(node.Member("type").Integer(kDocumentType + 1, kMost));
  const auto elementSize = static_cast<int>(node.Member("element_size").Integer(1, kMost));
  const std::string bytes = BytesOf(node.Member("data"));
  if (bytes.size() % static_cast<std::size_t>(elementSize) != 0) node.Fail("has an element that is not whole");
  source.SetExtension(type, elementSize, static_cast<long>(bytes.size()) / elementSize, bytes.data());
}

}  // namespace

std::string UnknownBlocksJson(const QUAV_DataSource& source) {
  std::string blocks;
  for (const int type : source.ExtensionTypes()) {
    if (type == kDocumentType) continue;
    const QUAV_DataSource::Extension block(source, type);
    blocks += blocks.empty() ? "[" : ",";
    blocks += "{\"type\":" + std::to_string(type) + ",\"element_size\":" + std::to_string(block.ElementSize()) +
              ",\"data\":\"" + HexText(block.Elements()) + "\"}";
  }
  return blocks.empty() ? blocks : blocks + "]";
}

void AddUnknownBlocks(QUAV_DataSource& source, std::string_view json) {
  const std::set<std::string_view> members{"type", "element_size", "data"};
  const Json tree = ReadJsonTree(json, members);
  const JsonNode list(tree);
  for (std::size_t i = 0; i < list.Size(); ++i) AddBlock(source, list[i]);
}

}  // namespace dstext
