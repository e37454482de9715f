#include "core/DescribedStream.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <new>
#include <utility>

#include "core/SchemaCopy.h"
#include "core/Streams.h"

namespace nb = nanobind;

namespace core {

namespace {

void Describe(Metadata& metadata, const MetadataOfOne& described) {
  std::erase_if(metadata, [&](const auto& pair) { return described.contains(pair.first); });
  metadata.insert(metadata.end(), described.begin(), described.end());
}

class DescribedStream {
 public:
  DescribedStream(ArrowArrayStream& stream, MetadataOfOne schema, std::map<std::string, MetadataOfOne> fields)
      : m_stream(stream), m_schema(std::move(schema)), m_fields(std::move(fields)) {}

  ArrowArrayStream* Given() { return m_stream.Get(); }

  int Schema(ArrowSchema* out) noexcept {
    ArrowSchema given{};
    if (const int result = Given()->get_schema(Given(), &given); result != 0) return result;
    int result = 0;
    try {
      SchemaData schema = CopyOf(given);
      Describe(schema.metadata, m_schema);
      for (SchemaData& field : schema.children)
        if (const auto found = m_fields.find(field.name); found != m_fields.end())
          Describe(field.metadata, found->second);
      MoveTo(*out, std::move(schema));
    } catch (const std::bad_alloc&) {
      result = ENOMEM;
    }
    given.release(&given);
    return result;
  }

 private:
  StreamOwner m_stream;
  MetadataOfOne m_schema;
  std::map<std::string, MetadataOfOne> m_fields;
};

DescribedStream& Of(ArrowArrayStream* stream) { return *static_cast<DescribedStream*>(stream->private_data); }

}  // namespace

nb::object Described(nb::handle capsule, MetadataOfOne schema, std::map<std::string, MetadataOfOne> fields) {
  ArrowArrayStream given = StreamOf(capsule);
  auto described = std::make_unique<DescribedStream>(given, std::move(schema), std::move(fields));
  ArrowArrayStream stream{};
  stream.get_schema = [](ArrowArrayStream* self, ArrowSchema* out) { return Of(self).Schema(out); };
  stream.get_next = [](ArrowArrayStream* self, ArrowArray* out) {
    return Of(self).Given()->get_next(Of(self).Given(), out);
  };
  stream.get_last_error = [](ArrowArrayStream* self) { return Of(self).Given()->get_last_error(Of(self).Given()); };
  stream.release = [](ArrowArrayStream* self) {
    const std::unique_ptr<DescribedStream> released(&Of(self));
    self->release = nullptr;
  };
  stream.private_data = described.release();
  return StreamCapsule(stream);
}

}  // namespace core
