#include "core/MadeStream.h"

#include <nanobind/stl/string.h>

#include <cerrno>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Columns/arrow/ArrowData.h"
#include "core/SchemaCopy.h"
#include "core/Streams.h"

namespace nb = nanobind;

namespace core {

namespace {

template <class Struct>
void Release(Struct& owned) {
  if (owned.release != nullptr) owned.release(&owned);
}

// Owns both structs.
struct OneBatch {
  OneBatch() = default;
  OneBatch(const OneBatch&) = delete;
  OneBatch& operator=(const OneBatch&) = delete;
  ~OneBatch() {
    Release(schema);
    Release(array);
  }

  ArrowSchema schema{};
  ArrowArray array{};
};

OneBatch& Of(ArrowArrayStream* stream) { return *static_cast<OneBatch*>(stream->private_data); }

template <class Operation>
int Guarded(Operation operation) noexcept {
  try {
    operation();
    return 0;
  } catch (const std::bad_alloc&) {
    return ENOMEM;
  }
}

void FillBuffers(ArrayData& array, const nb::list& buffers) {
  auto kept = std::make_shared<std::vector<std::string>>();
  kept->reserve(buffers.size());
  for (nb::handle buffer : buffers) {
    if (buffer.is_none()) {
      array.buffers.push_back(nullptr);
      continue;
    }
    const auto bytes = nb::cast<nb::bytes>(buffer);
    array.buffers.push_back(kept->emplace_back(bytes.c_str(), bytes.size()).data());
  }
  array.owner = std::move(kept);
}

nb::object StreamOf(std::unique_ptr<OneBatch> batch) {
  ArrowArrayStream stream{};
  stream.get_schema = [](ArrowArrayStream* self, ArrowSchema* out) {
    return Guarded([&] { MoveTo(*out, CopyOf(Of(self).schema)); });
  };
  stream.get_next = [](ArrowArrayStream* self, ArrowArray* out) {
    *out = std::exchange(Of(self).array, ArrowArray{});  // released at the end
    return 0;
  };
  stream.get_last_error = [](ArrowArrayStream*) -> const char* { return "out of memory"; };
  stream.release = [](ArrowArrayStream* self) {
    const std::unique_ptr<OneBatch> released(&Of(self));
    self->release = nullptr;
  };
  stream.private_data = batch.release();
  return StreamCapsule(stream);
}

// Takes the struct of a capsule.
template <class Struct>
Struct Taken(nb::handle capsule, const char* name) {
  auto* const given = static_cast<Struct*>(PyCapsule_GetPointer(capsule.ptr(), name));
  if (given == nullptr) throw nb::python_error();
  return std::exchange(*given, Struct{});
}

}  // namespace

nb::object MadeStream(const nb::list& columns, std::int64_t rows) {
  SchemaData schema{.format = "+s"};
  ArrayData array{.length = rows, .buffers = {nullptr}};
  for (nb::handle column : columns) {
    schema.children.push_back({.format = nb::cast<std::string>(column[1]),
                               .name = nb::cast<std::string>(column[0]),
                               .flags = ARROW_FLAG_NULLABLE});
    ArrayData& child = array.children.emplace_back();
    child.length = rows;
    child.nulls = nb::cast<std::int64_t>(column[2]);
    FillBuffers(child, nb::cast<nb::list>(column[3]));
  }
  auto batch = std::make_unique<OneBatch>();
  MoveTo(batch->schema, std::move(schema));
  MoveTo(batch->array, std::move(array));
  return StreamOf(std::move(batch));
}

nb::object StreamOfArray(nb::handle schema, nb::handle array) {
  auto batch = std::make_unique<OneBatch>();
  batch->schema = Taken<ArrowSchema>(schema, "arrow_schema");
  batch->array = Taken<ArrowArray>(array, "arrow_array");
  if (batch->schema.release == nullptr || std::string_view(batch->schema.format) != "+s")
    throw nb::type_error("the array has no columns");
  return StreamOf(std::move(batch));
}

}  // namespace core
