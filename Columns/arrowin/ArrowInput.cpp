#include "Columns/arrowin/ArrowInput.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>

#include "datasrc/ArrowImport.h"

namespace arrowin {

namespace {

void CheckSchema(const ArrowSchema& schema) {
  if (schema.format == nullptr || std::string_view(schema.format) != "+s")
    throw ArrowImportError("the stream has no columns: its schema is not a struct");
  if (schema.n_children < 0 || (schema.n_children > 0 && schema.children == nullptr))
    throw ArrowImportError("the schema of the stream has no children");
  for (std::int64_t k = 0; k < schema.n_children; ++k)
    if (schema.children[k] == nullptr || schema.children[k]->format == nullptr)
      throw ArrowImportError("column " + std::to_string(k) + " of the stream has no type");
}

// No element of any type has more bytes.
constexpr std::int64_t kWidestElement = 32;

// Returns whether the array can have so many elements: memory would hold them, and their places are numbers.
bool IsPlausible(const ArrowArray& array) {
  constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max() / kWidestElement;
  return 0 <= array.offset && array.offset <= kMost && 0 <= array.length && array.length <= kMost - array.offset;
}

bool HasNullRow(const ArrowArray& array) {
  if (array.null_count == 0 || array.n_buffers < 1 || array.buffers == nullptr || array.buffers[0] == nullptr)
    return false;
  const auto* const bits = static_cast<const std::uint8_t*>(array.buffers[0]);
  for (std::int64_t i = array.offset; i < array.offset + array.length; ++i)
    if ((bits[i / 8] >> (i % 8) & 1) == 0) return true;
  return false;
}

void CheckRows(const ArrowArray& array, const ArrowSchema& schema) {
  if (array.n_children != schema.n_children || (array.n_children > 0 && array.children == nullptr))
    throw ArrowImportError("an array of the stream has other columns than its schema");
  if (array.length < 0 || array.offset < 0) throw ArrowImportError("an array of the stream has a negative length");
  if (!IsPlausible(array)) throw ArrowImportError("an array of the stream is longer than memory can be");
  for (std::int64_t k = 0; k < array.n_children; ++k) {
    const ArrowArray* const child = array.children[k];
    if (child == nullptr || child->offset < 0 || child->length < array.length ||
        child->length - array.length < array.offset)
      throw ArrowImportError("column " + std::to_string(k) + " of the stream is shorter than the others");
    if (!IsPlausible(*child) || (child->dictionary != nullptr && !IsPlausible(*child->dictionary)))
      throw ArrowImportError("column " + std::to_string(k) + " of the stream is longer than memory can be");
  }
  if (HasNullRow(array))
    throw ArrowImportError("a row of the stream is null as a whole, which no case can be: give its columns nulls");
}

// Reads 32-bit numbers and texts one after another.
class MetadataReader {
 public:
  explicit MetadataReader(const char* at) : m_at(at) {}

  std::int32_t Number() {
    std::array<char, sizeof(std::int32_t)> bytes{};
    std::copy_n(m_at, bytes.size(), bytes.begin());
    m_at += bytes.size();
    const auto number = std::bit_cast<std::int32_t>(bytes);
    if (number < 0) throw ArrowImportError("the metadata of the stream have a negative length");
    return number;
  }
  std::string_view Text() {
    const auto size = static_cast<std::size_t>(Number());
    const std::string_view text(m_at, size);
    m_at += size;
    return text;
  }

 private:
  const char* m_at;
};

}  // namespace

ArrowInput::ArrowInput(ArrowArrayStream* stream) : m_stream(*stream) {
  stream->release = nullptr;
  try {
    if (m_stream.release == nullptr) throw ArrowImportError("the stream was released before");
    if (const int number = m_stream.get_schema(&m_stream, &m_schema); number != 0) {
      m_schema.release = nullptr;
      FailBy(number);
    }
    CheckSchema(m_schema);
  } catch (...) {
    ReleaseAll();
    throw;
  }
}

ArrowInput::~ArrowInput() { ReleaseAll(); }

void ArrowInput::ReleaseAll() {
  if (m_array.release != nullptr) m_array.release(&m_array);
  if (m_schema.release != nullptr) m_schema.release(&m_schema);
  if (m_stream.release != nullptr) m_stream.release(&m_stream);
}

void ArrowInput::FailBy(int number) {
  const char* const text = m_stream.get_last_error(&m_stream);
  throw StreamFailure(text != nullptr ? text : std::strerror(number));
}

const ArrowArray* ArrowInput::Next() {
  if (m_array.release != nullptr) m_array.release(&m_array);
  m_array = {};
  if (const int number = m_stream.get_next(&m_stream, &m_array); number != 0) {
    m_array.release = nullptr;
    FailBy(number);
  }
  if (m_array.release == nullptr) return nullptr;
  CheckRows(m_array, m_schema);
  return &m_array;
}

std::string MetadataOf(const ArrowSchema& schema, std::string_view key) {
  for (const auto& [name, value] : AllMetadata(schema))
    if (name == key) return std::string(value);
  return {};
}

std::vector<std::pair<std::string_view, std::string_view>> AllMetadata(const ArrowSchema& schema) {
  std::vector<std::pair<std::string_view, std::string_view>> pairs;
  if (schema.metadata == nullptr) return pairs;
  MetadataReader reader(schema.metadata);
  for (std::int32_t left = reader.Number(); left > 0; --left) {
    const std::string_view key = reader.Text();
    pairs.emplace_back(key, reader.Text());
  }
  return pairs;
}

}  // namespace arrowin
