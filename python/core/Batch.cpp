#include "core/Batch.h"

#include <nanobind/stl/string.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "Columns/arrow/ArrowData.h"
#include "core/SchemaCopy.h"
#include "core/Streams.h"

namespace nb = nanobind;

namespace core {

namespace {

template <class Struct>
std::shared_ptr<const Struct> Shared(Struct& given) {
  std::shared_ptr<Struct> shared(new Struct(given), [](Struct* owned) {
    owned->release(owned);
    delete owned;
  });
  given.release = nullptr;
  return shared;
}

// ---- Schemas ----

nb::dict Dict(const Metadata& pairs) {
  nb::dict dict;
  for (const auto& [key, value] : pairs) dict[nb::cast(key)] = nb::bytes(value.data(), value.size());
  return dict;
}

nb::list FieldsIn(const ArrowSchema& schema) {
  nb::list fields;
  for (std::int64_t k = 0; k < schema.n_children; ++k) {
    const ArrowSchema& field = *schema.children[k];
    const nb::object values =
        field.dictionary != nullptr ? nb::cast(std::string(field.dictionary->format)) : nb::none();
    fields.append(nb::make_tuple(std::string(field.name != nullptr ? field.name : ""), std::string(field.format),
                                 values, Dict(MetadataOf(field))));
  }
  return fields;
}

// ---- Arrays ----

ArrayData SharedParts(const ArrowArray& array, const std::shared_ptr<const ArrowArray>& owner) {
  ArrayData parts;
  parts.length = array.length;
  parts.nulls = array.null_count;
  parts.buffers.assign(array.buffers, array.buffers + array.n_buffers);
  parts.owner = owner;
  for (std::int64_t k = 0; k < array.n_children; ++k) parts.children.push_back(SharedParts(*array.children[k], owner));
  if (array.dictionary != nullptr)
    parts.dictionary = std::make_unique<ArrayData>(SharedParts(*array.dictionary, owner));
  return parts;
}

bool IsValid(const ArrowArray& array, std::int64_t row) {
  const auto* const bits = static_cast<const unsigned char*>(array.buffers[0]);
  return bits == nullptr || (bits[row / 8] >> (row % 8) & 1) != 0;
}

template <class Value>
const Value* Buffer(const ArrowArray& array) {
  return static_cast<const Value*>(array.buffers[1]);
}

template <class Make>
nb::list Made(const ArrowArray& array, Make make) {
  nb::list values;
  for (std::int64_t row = 0; row < array.length; ++row)
    values.append(IsValid(array, row) ? nb::object(make(row)) : nb::none());
  return values;
}

template <class Offset>
nb::list Texts(const ArrowArray& array) {
  return Made(array,
              [ends = Buffer<Offset>(array), text = static_cast<const char*>(array.buffers[2])](std::int64_t row) {
                return nb::str(text + ends[row], static_cast<std::size_t>(ends[row + 1] - ends[row]));
              });
}

template <class Number>
nb::list Numbers(const ArrowArray& array) {
  return Made(array, [numbers = Buffer<Number>(array)](std::int64_t row) { return nb::cast(numbers[row]); });
}

nb::list ValuesOf(const ArrowSchema& schema, const ArrowArray& array) {
  if (schema.dictionary != nullptr) {
    const nb::list labels = ValuesOf(*schema.dictionary, *array.dictionary);
    return Made(array, [&labels, indexes = Buffer<std::int32_t>(array)](std::int64_t row) {
      return nb::object(labels[static_cast<std::size_t>(indexes[row])]);
    });
  }
  const std::string_view format = schema.format;
  if (format == "g") return Numbers<double>(array);
  if (format == "u") return Texts<std::int32_t>(array);
  if (format == "U") return Texts<std::int64_t>(array);
  if (format == "tdD") return Numbers<std::int32_t>(array);
  if (format == "tDu" || format.starts_with("tsu:")) return Numbers<std::int64_t>(array);
  throw nb::type_error("a column has an unexpected type");
}

}  // namespace

Schema::Schema(ArrowSchema& schema) : m_schema(Shared(schema)) {}

nb::list Schema::Fields() const { return FieldsIn(*m_schema); }

nb::dict Schema::Metadata() const { return Dict(MetadataOf(*m_schema)); }

nb::object Schema::Capsule() const {
  ArrowSchema copy{};
  MoveTo(copy, CopyOf(*m_schema));
  return SchemaCapsule(copy);
}

nb::list Schema::FieldsOf(nb::handle capsule) {
  auto* const schema = static_cast<const ArrowSchema*>(PyCapsule_GetPointer(capsule.ptr(), "arrow_schema"));
  if (schema == nullptr) throw nb::python_error();
  if (schema->release == nullptr) throw nb::type_error("the Arrow schema was taken already");
  return FieldsIn(*schema);
}

Batch::Batch(Schema schema, ArrowArray& array) : m_schema(std::move(schema)), m_array(Shared(array)) {}

nb::list Batch::Values(int column) const {
  if (column < 0 || column >= m_array->n_children) throw nb::index_error("there is no such column");
  return ValuesOf(*m_schema.Get().children[column], *m_array->children[column]);
}

nb::object Batch::Capsule() const {
  ArrowArray array{};
  MoveTo(array, SharedParts(*m_array, m_array));
  return ArrayCapsule(array);
}

}  // namespace core
