#include <cerrno>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ArrowMessages_generated.h"
#include "Columns/arrow/ArrowData.h"
#include "Columns/arrowfile/BodyArrays.h"
#include "Columns/arrowfile/DictionaryStore.h"
#include "Columns/arrowfile/FieldShape.h"
#include "Columns/arrowfile/FileBytes.h"
#include "Columns/arrowfile/FileLayout.h"
#include "Columns/arrowfile/ListElements.h"
#include "Platform/ByteOrder.h"
#include "datasrc/ArrowFile.h"

namespace arrowfile {

namespace {

constexpr std::size_t kMostTables = 50'000'000;  // of one message: some for each of millions of columns
constexpr int kDeepest = 64;                     // tables in tables
// Rows without a byte in the file: all columns are of the null type. A few bytes could claim any number of them.
constexpr std::int64_t kMostEmptyRows = std::int64_t{1} << 24;

struct MessagePlace {
  std::int64_t start;     // of the prefix
  std::int64_t metadata;  // bytes, with the prefix
  std::int64_t body;      // bytes
};

[[noreturn]] void RefuseMessage(std::int64_t start, const std::string& trouble) {
  throw ArrowFileError("the message at byte " + std::to_string(start) + " " + trouble);
}

// Returns the table at the start of the bytes.
template <class Table>
const Table& Checked(const Bytes& bytes, std::int64_t start) {
  const void* const data = bytes.data.get();
  flatbuffers::Verifier verifier(static_cast<const std::uint8_t*>(data), static_cast<std::size_t>(bytes.size), kDeepest,
                                 kMostTables);
  if (!verifier.VerifyBuffer<Table>(nullptr)) RefuseMessage(start, "is malformed");
  return *flatbuffers::GetRoot<Table>(data);
}

void RequireVersion(messages::MetadataVersion version) {
  if (version != messages::MetadataVersion::V4 && version != messages::MetadataVersion::V5)
    throw ArrowFileError("the file has another version of the format than V4 and V5: write it anew");
}

// The messages of a file, and the bytes of its schema.
class ArrowFile {
 public:
  explicit ArrowFile(const std::string& path) : m_file(path) {
    const Bytes start = m_file.Read(0, std::min(m_file.Size(), kPrefixSize));
    if (StartsWith(start, kMagic)) {
      ReadFooter();
    } else if (start.size == kPrefixSize && Load<std::int32_t>(start.data.get()) == kContinuation) {
      ReadMessages();
    } else {
      throw ArrowFileError("this is not an Arrow file");
    }
  }

  const messages::Schema& Schema() const { return *m_schema; }
  // Dictionaries and batches in the order in which they are to be read.
  const std::vector<MessagePlace>& Messages() const { return m_messages; }
  Bytes Metadata(const MessagePlace& place) {
    return m_file.Read(place.start + kPrefixSize, place.metadata - kPrefixSize);
  }
  Bytes Body(const MessagePlace& place) { return m_file.Read(place.start + place.metadata, place.body); }

 private:
  static bool StartsWith(const Bytes& bytes, std::string_view text, std::int64_t at = 0) {
    return bytes.size - at >= static_cast<std::int64_t>(text.size()) &&
           std::memcmp(bytes.data.get() + at, text.data(), text.size()) == 0;
  }

  // The file form: the footer has the places of all messages.
  void ReadFooter() {
    const std::int64_t room = m_file.Size() - kPrefixSize - kFooterEndSize;
    if (room < 0) throw ArrowFileError("the end of the file is missing");
    const Bytes end = m_file.Read(m_file.Size() - kFooterEndSize, kFooterEndSize);
    if (!StartsWith(end, kMagic, sizeof(std::int32_t))) throw ArrowFileError("the end of the file is missing");
    const std::int64_t size = Load<std::int32_t>(end.data.get());
    if (size <= 0 || size > room) throw ArrowFileError("the size of the footer is " + std::to_string(size));
    const std::int64_t start = m_file.Size() - kFooterEndSize - size;
    m_schemaBytes = m_file.Read(start, size);
    const auto& footer = Checked<messages::Footer>(m_schemaBytes, start);
    RequireVersion(footer.version());
    if (footer.schema() == nullptr) throw ArrowFileError("the file has no schema");
    m_schema = footer.schema();
    AddBlocks(footer.dictionaries());
    AddBlocks(footer.record_batches());
  }

  void AddBlocks(const flatbuffers::Vector<const messages::Block*>* blocks) {
    if (blocks == nullptr) return;
    for (std::uint32_t i = 0; i < blocks->size(); ++i) {
      const messages::Block block = ElementOf(*blocks, i);
      Add({block.offset(), block.metadata_length(), block.body_length()});
    }
  }

  void Add(const MessagePlace& place) {
    const std::int64_t size = m_file.Size();
    if (place.start < 0 || place.metadata < kPrefixSize || place.body < 0 || place.start > size ||
        place.metadata > size - place.start || place.body > size - place.start - place.metadata)
      RefuseMessage(place.start, "goes past the end of the file");
    if (place.start % kLeastAlignment != 0) RefuseMessage(place.start, "is not at a multiple of 8 bytes");
    // Each byte belongs to one message. Otherwise a short file could have any number of batches.
    m_used += place.metadata + place.body;
    if (m_used > size) throw ArrowFileError("the messages of the file are longer than the file");
    m_messages.push_back(place);
  }

  // The streaming form: message after message.
  void ReadMessages() {
    std::int64_t position = 0;
    while (m_file.Size() - position >= kPrefixSize) {
      const Bytes prefix = m_file.Read(position, kPrefixSize);
      const std::int64_t size = Load<std::int32_t>(prefix.data.get() + sizeof(std::int32_t));
      if (Load<std::int32_t>(prefix.data.get()) != kContinuation || size < 0)
        RefuseMessage(position, "does not begin like one");
      if (size == 0) break;
      const Bytes metadata = m_file.Read(position + kPrefixSize, size);
      const auto& message = Checked<messages::Message>(metadata, position);
      const MessagePlace place{position, kPrefixSize + size, message.body_length()};
      Add(place);
      if (m_schema == nullptr) {
        TakeSchema(message, metadata);
        m_messages.clear();
      }
      position += place.metadata + place.body;
    }
    if (m_schema == nullptr) throw ArrowFileError("the file has no schema");
    if (m_file.Size() - position < kPrefixSize && m_file.Size() != position)
      throw ArrowFileError("the end of the file is missing");
  }

  void TakeSchema(const messages::Message& message, const Bytes& metadata) {
    RequireVersion(message.version());
    m_schema = message.header_as_Schema();
    if (m_schema == nullptr) throw ArrowFileError("the file has no schema");
    m_schemaBytes = metadata;
  }

  FileBytes m_file;
  Bytes m_schemaBytes;
  const messages::Schema* m_schema = nullptr;  // in m_schemaBytes
  std::vector<MessagePlace> m_messages;
  std::int64_t m_used = 0;  // bytes of all messages
};

std::vector<FieldShape> ShapesOf(const messages::Schema& schema) {
  if (schema.endianness() != messages::Endianness::Little)
    throw ArrowFileError("the numbers of the file are big-endian: write it on another machine");
  std::vector<FieldShape> shapes;
  if (schema.fields() == nullptr) return shapes;
  for (const messages::Field* const field : *schema.fields()) shapes.push_back(ShapeOf(*field));
  return shapes;
}

class OpenedFile {
 public:
  explicit OpenedFile(const std::string& path)
      : m_file(path), m_columns(ShapesOf(m_file.Schema())), m_dictionaries(m_columns) {}

  int GetSchema(ArrowSchema* out) {
    return Guarded([&] {
      SchemaData schema;
      schema.format = "+s";
      schema.metadata = MetadataOf(m_file.Schema());
      for (std::size_t k = 0; k < m_columns.size(); ++k)
        schema.children.push_back(
            SchemaOf(*m_file.Schema().fields()->Get(static_cast<std::uint32_t>(k)), m_columns[k]));
      MoveTo(*out, std::move(schema));
    });
  }

  int GetNext(ArrowArray* out) {
    if (m_failure != 0) return m_failure;
    m_failure = Guarded([&] {
      out->release = nullptr;  // the end of the stream
      while (m_next < m_file.Messages().size())
        if (Take(m_file.Messages()[m_next++], *out)) return;
    });
    return m_failure;
  }

  const char* LastError() const { return m_isOutOfMemory ? "out of memory" : m_error.c_str(); }

 private:
  // Returns true for a batch, false for a dictionary.
  bool Take(const MessagePlace& place, ArrowArray& out) {
    const Bytes metadata = m_file.Metadata(place);
    const auto& message = Checked<messages::Message>(metadata, place.start);
    RequireVersion(message.version());
    // The footer and the message both say it.
    if (message.body_length() != place.body) RefuseMessage(place.start, "has a body of another size than it says");
    if (const messages::DictionaryBatch* const dictionary = message.header_as_DictionaryBatch()) {
      m_dictionaries.Add(*dictionary, m_file.Body(place));
      return false;
    }
    const messages::RecordBatch* const batch = message.header_as_RecordBatch();
    if (batch == nullptr) RefuseMessage(place.start, "is neither a batch nor a dictionary");
    MoveTo(out, Rows(BodyArrays(*batch, m_file.Body(place))));
    return true;
  }

  ArrayData Rows(BodyArrays arrays) {
    ArrayData rows;
    rows.length = arrays.Rows();
    rows.buffers = {nullptr};
    bool hasBytes = false;
    for (const FieldShape& column : m_columns) {
      ArrayData array = arrays.Next(column.values, column.name);
      if (column.id) array.dictionary = m_dictionaries.Values(column);
      hasBytes = hasBytes || column.values.layout != ValueShape::Layout::none;
      rows.children.push_back(std::move(array));
    }
    arrays.RequireEnd();
    if (!hasBytes) {
      if (rows.length > kMostEmptyRows - m_emptyRows)
        throw ArrowFileError("more than " + std::to_string(kMostEmptyRows) +
                             " rows have nothing but nulls without a type");
      m_emptyRows += rows.length;
    }
    return rows;
  }

  // Runs an operation of the stream. Returns 0, or an errno value after keeping the text of the error.
  template <class Operation>
  int Guarded(Operation operation) noexcept {
    m_isOutOfMemory = false;
    try {
      try {
        operation();
        return 0;
      } catch (const ArrowFileError& error) {
        m_error = error.what();
        return EINVAL;
      }
    } catch (const std::exception&) {
      m_isOutOfMemory = true;
      return ENOMEM;
    }
  }

  ArrowFile m_file;
  std::vector<FieldShape> m_columns;
  DictionaryStore m_dictionaries;
  std::size_t m_next = 0;  // of the messages
  std::int64_t m_emptyRows = 0;
  std::string m_error;
  bool m_isOutOfMemory = false;  // the last error, which then has no text
  int m_failure = 0;             // of GetNext, an errno value
};

OpenedFile& Of(ArrowArrayStream* stream) { return *static_cast<OpenedFile*>(stream->private_data); }

}  // namespace

}  // namespace arrowfile

void OpenArrowFile(const std::string& path, ArrowArrayStream* stream) {
  using arrowfile::Of;
  using arrowfile::OpenedFile;
  auto opened = std::make_unique<OpenedFile>(path);
  stream->get_schema = [](ArrowArrayStream* self, ArrowSchema* out) { return Of(self).GetSchema(out); };
  stream->get_next = [](ArrowArrayStream* self, ArrowArray* out) { return Of(self).GetNext(out); };
  stream->get_last_error = [](ArrowArrayStream* self) { return Of(self).LastError(); };
  stream->release = [](ArrowArrayStream* self) {
    const std::unique_ptr<OpenedFile> released(&Of(self));
    self->release = nullptr;
  };
  stream->private_data = opened.release();
}
