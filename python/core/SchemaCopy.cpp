#include "core/SchemaCopy.h"

#include <cstdint>
#include <memory>
#include <utility>

namespace core {

namespace {

// Reads the ABI's form of metadata: the number of pairs, then keys and values, each with its length before it.
class MetadataReader {
 public:
  explicit MetadataReader(const char* bytes) : m_next(bytes) {}
  std::int32_t Number() {
    std::int32_t number = 0;
    std::char_traits<char>::copy(reinterpret_cast<char*>(&number), m_next, sizeof number);
    m_next += sizeof number;
    return number;
  }
  std::string Text() {
    const auto size = static_cast<std::size_t>(Number());
    std::string text(m_next, size);
    m_next += size;
    return text;
  }

 private:
  const char* m_next;
};

}  // namespace

Metadata MetadataOf(const ArrowSchema& schema) {
  Metadata pairs;
  if (schema.metadata == nullptr) return pairs;
  MetadataReader reader(schema.metadata);
  for (std::int32_t left = reader.Number(); left > 0; --left) {
    std::string key = reader.Text();
    pairs.emplace_back(std::move(key), reader.Text());
  }
  return pairs;
}

SchemaData CopyOf(const ArrowSchema& schema) {
  SchemaData copy;
  copy.format = schema.format;
  copy.name = schema.name != nullptr ? schema.name : "";
  copy.metadata = MetadataOf(schema);
  copy.flags = schema.flags;
  for (std::int64_t k = 0; k < schema.n_children; ++k) copy.children.push_back(CopyOf(*schema.children[k]));
  if (schema.dictionary != nullptr) copy.dictionary = std::make_unique<SchemaData>(CopyOf(*schema.dictionary));
  return copy;
}

}  // namespace core
