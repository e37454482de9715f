// Arrow streams whose every byte a test chooses.

#ifndef TESTS_COLUMNS_MADESTREAM_H
#define TESTS_COLUMNS_MADESTREAM_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Columns/arrow/ArrowData.h"
#include "tests/columns/ArrowStructs.h"

struct MadeColumn {
  std::string name;
  std::string format;
  std::int64_t length = 0;
  std::vector<std::optional<std::string>> buffers;  // nothing for a null pointer
  std::int64_t offset = 0;
  std::vector<std::pair<std::string, std::string>> metadata = {};
  std::shared_ptr<MadeColumn> dictionary = {};
};

template <class T>
std::string BytesOf(const std::vector<T>& values) {
  std::string bytes(values.size() * sizeof(T), '\0');
  if (!values.empty()) std::memcpy(bytes.data(), values.data(), bytes.size());
  return bytes;
}

template <class T>
MadeColumn NumberColumn(const std::string& name, const std::string& format, const std::vector<T>& values) {
  return {name, format, std::ssize(values), {std::nullopt, BytesOf(values)}};
}

inline MadeColumn TextColumn(const std::string& name, const std::vector<std::string>& texts) {
  std::vector<std::int32_t> offsets{0};
  std::string bytes;
  for (const std::string& text : texts) {
    bytes += text;
    offsets.push_back(static_cast<std::int32_t>(bytes.size()));
  }
  return {name, "u", std::ssize(texts), {std::nullopt, BytesOf(offsets), bytes}};
}

// A stream of one batch. Rows are those of the first column.
class MadeStream {
 public:
  // `validity` has a bit for each row; nothing for rows that are all valid.
  explicit MadeStream(std::vector<MadeColumn> columns, std::optional<std::string> validity = std::nullopt)
      : m_columns(std::move(columns)), m_validity(std::move(validity)) {}

  Arrow<ArrowArrayStream> Stream() const {
    Arrow<ArrowArrayStream> stream;
    stream.get_schema = [](ArrowArrayStream* self, ArrowSchema* out) {
      SchemaData schema{.format = "+s"};
      for (const MadeColumn& column : Of(self)->m_columns) schema.children.push_back(SchemaOf(column));
      MoveTo(*out, std::move(schema));
      return 0;
    };
    stream.get_next = [](ArrowArrayStream* self, ArrowArray* out) {
      if (!std::exchange(Of(self)->m_isDone, true)) MoveTo(*out, *Of(self));
      return 0;
    };
    stream.get_last_error = [](ArrowArrayStream*) -> const char* { return nullptr; };
    stream.release = [](ArrowArrayStream* self) {
      const std::unique_ptr<MadeStream> released(Of(self));
      self->release = nullptr;
    };
    stream.private_data = new MadeStream(*this);
    return stream;
  }

 private:
  static MadeStream* Of(ArrowArrayStream* stream) { return static_cast<MadeStream*>(stream->private_data); }

  static SchemaData SchemaOf(const MadeColumn& column) {
    SchemaData schema{.format = column.format, .name = column.name, .metadata = column.metadata};
    if (column.dictionary) schema.dictionary = std::make_unique<SchemaData>(SchemaOf(*column.dictionary));
    return schema;
  }

  static ArrayData ArrayOf(const std::shared_ptr<const MadeColumn>& column) {
    ArrayData array{.length = column->length, .nulls = -1, .owner = column};
    for (const auto& buffer : column->buffers) array.buffers.push_back(buffer ? buffer->data() : nullptr);
    if (column->dictionary) array.dictionary = std::make_unique<ArrayData>(ArrayOf(column->dictionary));
    return array;
  }

  static void MoveTo(ArrowArray& array, const MadeStream& stream) {
    const std::vector<MadeColumn>& columns = stream.m_columns;
    const auto validity = std::make_shared<std::optional<std::string>>(stream.m_validity);
    ArrayData rows{.length = columns.empty() ? 0 : columns.front().length,
                   .nulls = *validity ? -1 : 0,
                   .buffers = {*validity ? (*validity)->data() : nullptr},
                   .owner = validity};
    for (const MadeColumn& column : columns) rows.children.push_back(ArrayOf(std::make_shared<MadeColumn>(column)));
    ::MoveTo(array, std::move(rows));
    for (std::size_t k = 0; k < columns.size(); ++k) {
      array.children[k]->offset = columns[k].offset;
      array.children[k]->length = columns[k].length;
    }
  }
  static void MoveTo(ArrowSchema& schema, SchemaData data) { ::MoveTo(schema, std::move(data)); }

  std::vector<MadeColumn> m_columns;
  std::optional<std::string> m_validity;
  bool m_isDone = false;
};

#endif
