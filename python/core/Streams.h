// Arrow streams between the library and Python.

#ifndef PYTHON_CORE_STREAMS_H
#define PYTHON_CORE_STREAMS_H

#include <nanobind/nanobind.h>

#include <memory>
#include <string>

#include "core/Watch.h"
#include "datasrc/ArrowAbi.h"

namespace core {

// Returns a stream that gives what `stream` gives, which it takes: with the GIL free while that works, and with a look at
// the watch before each batch.
ArrowArrayStream Watched(ArrowArrayStream& stream, std::shared_ptr<Watch> watch);

// Owns a stream.
class StreamOwner {
 public:
  StreamOwner() = default;
  explicit StreamOwner(ArrowArrayStream& stream) : m_stream(stream) { stream.release = nullptr; }
  StreamOwner(const StreamOwner&) = delete;
  StreamOwner& operator=(const StreamOwner&) = delete;
  ~StreamOwner() { Release(); }

  ArrowArrayStream* Get() { return &m_stream; }
  bool IsReleased() const { return m_stream.release == nullptr; }
  void Release();

 private:
  ArrowArrayStream m_stream{};
};

// The capsules of Arrow's PyCapsule interface. Each takes its struct.
nanobind::object StreamCapsule(ArrowArrayStream& stream);
nanobind::object SchemaCapsule(ArrowSchema& schema);
nanobind::object ArrayCapsule(ArrowArray& array);

// Takes the stream of a capsule. Raises TypeError if it is none, or if somebody has taken it already.
ArrowArrayStream StreamOf(nanobind::handle capsule);

}  // namespace core

#endif
