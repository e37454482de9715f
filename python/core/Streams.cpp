#include "core/Streams.h"

#include <cerrno>
#include <cstdint>
#include <utility>

#include "core/Gil.h"

namespace nb = nanobind;

namespace core {

namespace {

constexpr char kStreamName[] = "arrow_array_stream";
constexpr char kSchemaName[] = "arrow_schema";
constexpr char kArrayName[] = "arrow_array";

class WatchedStream {
 public:
  WatchedStream(ArrowArrayStream& stream, std::shared_ptr<Watch> watch) : m_stream(stream), m_watch(std::move(watch)) {}

  int Schema(ArrowSchema* out) {
    const GilFree free;
    return Known(m_stream.Get()->get_schema(m_stream.Get(), out));
  }

  int Next(ArrowArray* out) {
    if (m_isInterrupted || !m_watch->Continue(m_rows)) return Interrupted();
    int result = 0;
    {
      const GilFree free;
      result = m_stream.Get()->get_next(m_stream.Get(), out);
    }
    if (result != 0) return Known(result);
    if (out->release != nullptr) {
      m_rows += out->length;
    } else if (!m_watch->Finish(m_rows)) {
      return Interrupted();
    }
    return 0;
  }

  const char* Error() { return m_isInterrupted ? "interrupted" : m_stream.Get()->get_last_error(m_stream.Get()); }

 private:
  int Known(int result) {
    if (result != 0) {
      const char* const text = m_stream.Get()->get_last_error(m_stream.Get());
      m_watch->Fail(text != nullptr ? text : "the stream failed");
    }
    return result;
  }

  int Interrupted() {
    m_isInterrupted = true;
    return ECANCELED;
  }

  StreamOwner m_stream;
  std::shared_ptr<Watch> m_watch;
  std::int64_t m_rows = 0;
  bool m_isInterrupted = false;
};

WatchedStream& Of(ArrowArrayStream* stream) { return *static_cast<WatchedStream*>(stream->private_data); }

template <class Struct>
nb::object Capsule(Struct& given, const char* name, PyCapsule_Destructor destructor) {
  auto moved = std::make_unique<Struct>(given);
  given.release = nullptr;
  PyObject* const capsule = PyCapsule_New(moved.get(), name, destructor);
  if (capsule == nullptr) {
    moved->release(moved.get());
    throw nb::python_error();
  }
  static_cast<void>(moved.release());  // the capsule's
  return nb::steal(capsule);
}

// A consumer that took the struct has set its release to null.
template <class Struct>
void Destroy(PyObject* capsule, const char* name) {
  const std::unique_ptr<Struct> owned(static_cast<Struct*>(PyCapsule_GetPointer(capsule, name)));
  if (owned && owned->release != nullptr) owned->release(owned.get());
}

}  // namespace

ArrowArrayStream Watched(ArrowArrayStream& stream, std::shared_ptr<Watch> watch) {
  auto watched = std::make_unique<WatchedStream>(stream, std::move(watch));
  ArrowArrayStream result{};
  result.get_schema = [](ArrowArrayStream* self, ArrowSchema* out) { return Of(self).Schema(out); };
  result.get_next = [](ArrowArrayStream* self, ArrowArray* out) { return Of(self).Next(out); };
  result.get_last_error = [](ArrowArrayStream* self) { return Of(self).Error(); };
  result.release = [](ArrowArrayStream* self) {
    const std::unique_ptr<WatchedStream> released(&Of(self));
    self->release = nullptr;
  };
  result.private_data = watched.release();
  return result;
}

void StreamOwner::Release() {
  if (m_stream.release != nullptr) m_stream.release(&m_stream);
  m_stream.release = nullptr;
}

nb::object StreamCapsule(ArrowArrayStream& stream) {
  return Capsule(stream, kStreamName, [](PyObject* capsule) { Destroy<ArrowArrayStream>(capsule, kStreamName); });
}

nb::object SchemaCapsule(ArrowSchema& schema) {
  return Capsule(schema, kSchemaName, [](PyObject* capsule) { Destroy<ArrowSchema>(capsule, kSchemaName); });
}

nb::object ArrayCapsule(ArrowArray& array) {
  return Capsule(array, kArrayName, [](PyObject* capsule) { Destroy<ArrowArray>(capsule, kArrayName); });
}

ArrowArrayStream StreamOf(nb::handle capsule) {
  if (PyCapsule_IsValid(capsule.ptr(), kStreamName) == 0)
    throw nb::type_error("__arrow_c_stream__ did not return an Arrow stream");
  auto* const stream = static_cast<ArrowArrayStream*>(PyCapsule_GetPointer(capsule.ptr(), kStreamName));
  if (stream->release == nullptr) throw nb::type_error("the Arrow stream was taken already");
  return std::exchange(*stream, ArrowArrayStream{});
}

}  // namespace core
