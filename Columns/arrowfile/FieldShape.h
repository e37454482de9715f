// What a field of a file's schema says of the arrays of its column.
//
// Threads: any.

#ifndef COLUMNS_ARROWFILE_FIELDSHAPE_H
#define COLUMNS_ARROWFILE_FIELDSHAPE_H

#include <cstdint>
#include <optional>
#include <string>

#include "ArrowMessages_generated.h"
#include "Columns/arrow/ArrowData.h"

namespace arrowfile {

// The type of values without a dictionary.
struct ValueShape {
  enum class Layout { none, bits, fixed, texts32, texts64, views };

  std::string format;  // of the C data interface
  Layout layout = Layout::none;
  int width = 0;  // of a fixed layout, in bytes

  bool operator==(const ValueShape&) const = default;
};

struct FieldShape {
  std::string name;
  ValueShape values;               // the indexes of a dictionary, if there is one
  std::optional<std::int64_t> id;  // of the dictionary
  ValueShape dictionary;           // its values
};

// Throw ArrowFileError for types that no variable can have, with the name of the column.
FieldShape ShapeOf(const messages::Field& field);
// The schema of the C data interface, with its metadata.
SchemaData SchemaOf(const messages::Field& field, const FieldShape& shape);

// Returns the metadata of a schema or a field.
template <class Table>
std::vector<std::pair<std::string, std::string>> MetadataOf(const Table& table) {
  std::vector<std::pair<std::string, std::string>> pairs;
  if (table.custom_metadata() == nullptr) return pairs;
  for (const messages::KeyValue* const pair : *table.custom_metadata())
    pairs.emplace_back(pair->key() != nullptr ? pair->key()->str() : "",
                       pair->value() != nullptr ? pair->value()->str() : "");
  return pairs;
}

}  // namespace arrowfile

#endif
