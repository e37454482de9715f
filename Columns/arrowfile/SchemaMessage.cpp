#include "Columns/arrowfile/SchemaMessage.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Columns/arrowin/ArrowInput.h"
#include "datasrc/ArrowFile.h"

namespace arrowfile {

namespace {

using flatbuffers::FlatBufferBuilder;
using flatbuffers::Offset;

constexpr std::size_t kMostMetadata = std::size_t{1} << 30;  // bytes; a message has at most 2 GiB
constexpr int kIndexBits = 32;

using KeyValues = std::vector<Offset<messages::KeyValue>>;

KeyValues BuildMetadata(FlatBufferBuilder& builder, const ArrowSchema& schema) {
  KeyValues pairs;
  for (const auto& [key, value] : arrowin::AllMetadata(schema)) {
    if (builder.GetSize() + key.size() + value.size() > kMostMetadata)
      throw ArrowFileError("the dictionary is too large for an Arrow file");
    const auto builtKey = builder.CreateString(key.data(), key.size());
    const auto builtValue = builder.CreateString(value.data(), value.size());
    pairs.push_back(messages::CreateKeyValue(builder, builtKey, builtValue));
  }
  return pairs;
}

struct BuiltType {
  messages::Type kind;
  Offset<void> type;
};

BuiltType BuildType(FlatBufferBuilder& builder, std::string_view format) {
  if (format == "g")
    return {messages::Type::FloatingPoint, messages::CreateFloatingPoint(builder, messages::Precision::Double).Union()};
  if (format == "u") return {messages::Type::Utf8, messages::CreateUtf8(builder).Union()};
  if (format == "U") return {messages::Type::LargeUtf8, messages::CreateLargeUtf8(builder).Union()};
  if (format == "tdD") return {messages::Type::Date, messages::CreateDate(builder, messages::DateUnit::Day).Union()};
  if (format == "tsu:")
    return {messages::Type::Timestamp, messages::CreateTimestamp(builder, messages::TimeUnit::Microsecond).Union()};
  if (format == "tDu")
    return {messages::Type::Duration, messages::CreateDuration(builder, messages::TimeUnit::Microsecond).Union()};
  throw ArrowFileError("columns of the Arrow type \"" + std::string(format) + "\" are not written");
}

Offset<messages::Field> BuildField(FlatBufferBuilder& builder, const ArrowSchema& column, std::int64_t id) {
  const auto name = builder.CreateString(column.name != nullptr ? column.name : "");
  const bool hasDictionary = column.dictionary != nullptr;
  const BuiltType type = BuildType(builder, hasDictionary ? column.dictionary->format : column.format);
  Offset<messages::DictionaryEncoding> dictionary;
  if (hasDictionary) {
    if (std::string_view(column.format) != "i") throw ArrowFileError("only 32-bit indexes are written");
    dictionary = messages::CreateDictionaryEncoding(builder, id, messages::CreateInt(builder, kIndexBits, true));
  }
  const auto children = builder.CreateVector(std::vector<Offset<messages::Field>>());
  const auto metadata = builder.CreateVector(BuildMetadata(builder, column));
  return messages::CreateField(builder, name, (column.flags & ARROW_FLAG_NULLABLE) != 0, type.kind, type.type,
                               dictionary, children, metadata);
}

}  // namespace

Offset<messages::Schema> BuildSchema(FlatBufferBuilder& builder, const ArrowSchema& schema) {
  std::vector<Offset<messages::Field>> fields;
  for (std::int64_t k = 0; k < schema.n_children; ++k) fields.push_back(BuildField(builder, *schema.children[k], k));
  const auto builtFields = builder.CreateVector(fields);
  const auto metadata = builder.CreateVector(BuildMetadata(builder, schema));
  return messages::CreateSchema(builder, messages::Endianness::Little, builtFields, metadata);
}

}  // namespace arrowfile
