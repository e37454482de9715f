// An ArrowArrayStream that this object owns: its schema, and its arrays one by one.
//
// Threads: one thread at a time.

#ifndef COLUMNS_ARROWIN_ARROWINPUT_H
#define COLUMNS_ARROWIN_ARROWINPUT_H

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "datasrc/ArrowAbi.h"
#include "datasrc/ArrowImport.h"

namespace arrowin {

// A failure that a stream reports.
class StreamFailure final : public ArrowImportError {
 public:
  explicit StreamFailure(const std::string& text) : ArrowImportError("the stream failed: " + text), m_text(text) {}

  // The stream's own text.
  const std::string& Text() const { return m_text; }

 private:
  std::string m_text;
};

class ArrowInput {
 public:
  // Takes the stream, and reads its schema. Throws ArrowImportError when the stream fails, or when its schema is not a
  // struct.
  explicit ArrowInput(ArrowArrayStream* stream);
  ArrowInput(const ArrowInput&) = delete;
  ArrowInput& operator=(const ArrowInput&) = delete;
  ~ArrowInput();

  const ArrowSchema& Schema() const { return m_schema; }
  std::size_t Columns() const { return static_cast<std::size_t>(m_schema.n_children); }
  // Returns the next array, a struct whose children are as long as it says; null at the end. It is valid until the next
  // call.
  const ArrowArray* Next();

 private:
  void ReleaseAll();
  [[noreturn]] void FailBy(int number);

  ArrowArrayStream m_stream{};
  ArrowSchema m_schema{};
  ArrowArray m_array{};
};

// Returns the value of a key in the metadata of a schema, or an empty text.
std::string MetadataOf(const ArrowSchema& schema, std::string_view key);
// Returns all keys and values in the metadata of a schema, which has their memory.
std::vector<std::pair<std::string_view, std::string_view>> AllMetadata(const ArrowSchema& schema);

}  // namespace arrowin

#endif
