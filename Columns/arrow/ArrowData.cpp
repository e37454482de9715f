#include "Columns/arrow/ArrowData.h"

#include <cstddef>
#include <limits>
#include <stdexcept>

namespace {

// What the private data of a schema or an array points at. The consumer may take a child out of its parent and release
// it later, so each child is released by itself.
template <class Struct>
class Children {
 public:
  explicit Children(std::size_t count) : m_structs(count) {
    for (Struct& child : m_structs) {
      child.release = nullptr;
      m_pointers.push_back(&child);
    }
  }
  Children(const Children&) = delete;
  Children& operator=(const Children&) = delete;
  ~Children() {
    for (Struct& child : m_structs)
      if (child.release != nullptr) child.release(&child);
  }

  Struct& operator[](std::size_t k) { return m_structs[k]; }
  Struct** Pointers() { return m_pointers.empty() ? nullptr : m_pointers.data(); }

 private:
  std::vector<Struct> m_structs;
  std::vector<Struct*> m_pointers;
};

struct OwnedSchema {
  explicit OwnedSchema(std::size_t childCount, bool hasDictionary)
      : children(childCount), dictionary(hasDictionary ? 1 : 0) {}

  std::string format;
  std::string name;
  std::string metadata;
  Children<ArrowSchema> children;
  Children<ArrowSchema> dictionary;  // one or none
};

struct OwnedArray {
  explicit OwnedArray(std::size_t childCount, bool hasDictionary)
      : children(childCount), dictionary(hasDictionary ? 1 : 0) {}

  std::vector<const void*> buffers;
  std::shared_ptr<const void> owner;
  Children<ArrowArray> children;
  Children<ArrowArray> dictionary;
};

template <class Owned, class Struct>
void Release(Struct* released) {
  const std::unique_ptr<Owned> owned(static_cast<Owned*>(released->private_data));
  released->release = nullptr;
}

void AppendNumber(std::string& bytes, std::size_t number) {
  if (number > std::numeric_limits<std::int32_t>::max())
    throw std::length_error("the metadata of a column have more than 2 GiB");
  const auto size = static_cast<std::int32_t>(number);
  for (std::size_t byte = 0; byte < sizeof size; ++byte)
    bytes += static_cast<char>(static_cast<std::uint32_t>(size) >> (8 * byte));
}

// The ABI's form of metadata: the number of pairs, then each key and value with its length before it, all as 32-bit
// numbers in this machine's byte order, which is little-endian.
std::string BytesOf(const std::vector<std::pair<std::string, std::string>>& metadata) {
  std::string bytes;
  if (metadata.empty()) return bytes;
  AppendNumber(bytes, metadata.size());
  for (const auto& [key, value] : metadata) {
    AppendNumber(bytes, key.size());
    bytes += key;
    AppendNumber(bytes, value.size());
    bytes += value;
  }
  return bytes;
}

}  // namespace

void MoveTo(ArrowSchema& schema, SchemaData data) {
  auto owned = std::make_unique<OwnedSchema>(data.children.size(), data.dictionary != nullptr);
  owned->format = std::move(data.format);
  owned->name = std::move(data.name);
  owned->metadata = BytesOf(data.metadata);
  for (std::size_t k = 0; k < data.children.size(); ++k) MoveTo(owned->children[k], std::move(data.children[k]));
  if (data.dictionary) MoveTo(owned->dictionary[0], std::move(*data.dictionary));

  schema.format = owned->format.c_str();
  schema.name = owned->name.c_str();
  schema.metadata = owned->metadata.empty() ? nullptr : owned->metadata.c_str();
  schema.flags = data.flags;
  schema.n_children = static_cast<std::int64_t>(data.children.size());
  schema.children = owned->children.Pointers();
  schema.dictionary = data.dictionary ? &owned->dictionary[0] : nullptr;
  schema.release = Release<OwnedSchema, ArrowSchema>;
  schema.private_data = owned.release();
}

void MoveTo(ArrowArray& array, ArrayData data) {
  auto owned = std::make_unique<OwnedArray>(data.children.size(), data.dictionary != nullptr);
  owned->buffers = std::move(data.buffers);
  owned->owner = std::move(data.owner);
  for (std::size_t k = 0; k < data.children.size(); ++k) MoveTo(owned->children[k], std::move(data.children[k]));
  if (data.dictionary) MoveTo(owned->dictionary[0], std::move(*data.dictionary));

  array.length = data.length;
  array.null_count = data.nulls;
  array.offset = 0;
  array.n_buffers = static_cast<std::int64_t>(owned->buffers.size());
  array.n_children = static_cast<std::int64_t>(data.children.size());
  array.buffers = owned->buffers.data();
  array.children = owned->children.Pointers();
  array.dictionary = data.dictionary ? &owned->dictionary[0] : nullptr;
  array.release = Release<OwnedArray, ArrowArray>;
  array.private_data = owned.release();
}
