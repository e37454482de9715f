// Owners of what is in the structs of the Arrow C data interface: what a consumer releases.
//
// Threads: a struct belongs to one thread at a time; it may be released on any.

#ifndef COLUMNS_ARROW_ARROWDATA_H
#define COLUMNS_ARROW_ARROWDATA_H

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "datasrc/ArrowAbi.h"

// A schema in the making. Moving it into an ArrowSchema makes the consumer its owner.
struct SchemaData {
  std::string format = {};
  std::string name = {};
  std::vector<std::pair<std::string, std::string>> metadata = {};  // keys and values
  std::int64_t flags = 0;
  std::vector<SchemaData> children = {};
  std::unique_ptr<SchemaData> dictionary = {};
};

void MoveTo(ArrowSchema& schema, SchemaData data);

// An array in the making. `owner` keeps the memory of the buffers.
struct ArrayData {
  std::int64_t length = 0;
  std::int64_t nulls = 0;
  std::vector<const void*> buffers = {};
  std::shared_ptr<const void> owner = {};
  std::vector<ArrayData> children = {};
  std::unique_ptr<ArrayData> dictionary = {};
};

void MoveTo(ArrowArray& array, ArrayData data);

#endif
