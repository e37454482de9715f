#include <array>
#include <bit>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "Columns/arrowfile/FileLayout.h"
#include "Columns/arrowfile/SchemaMessage.h"
#include "Columns/arrowin/ArrowInput.h"
#include "datasrc/ArrowFile.h"
#include "datasrc/ArrowImport.h"

namespace arrowfile {

namespace {

using flatbuffers::FlatBufferBuilder;
using flatbuffers::Offset;
using Sink = std::function<void(std::string_view)>;

constexpr std::array<char, kAlignment> kZeros{};

// The nodes and buffers of columns that become the body of one message. The memory is the arrays'.
class Body {
 public:
  // The array has the type of `format`.
  void Add(const ArrowArray& array, std::string_view format) {
    if (array.offset != 0 || array.null_count < 0)
      throw ArrowFileError("arrays with an offset or without a number of nulls are not written");
    const std::int64_t rows = array.length;
    m_nodes.emplace_back(rows, array.null_count);
    AddBuffer(array.null_count == 0 ? nullptr : array.buffers[0], (rows + 7) / 8);
    if (format == "u") {
      AddTexts<std::int32_t>(array);
    } else if (format == "U") {
      AddTexts<std::int64_t>(array);
    } else {
      AddBuffer(array.buffers[1], rows * (format == "tdD" || format == "i" ? 4 : 8));
    }
  }

  std::int64_t Size() const { return m_size; }
  Offset<messages::RecordBatch> Build(FlatBufferBuilder& builder, std::int64_t rows) const {
    const auto nodes = builder.CreateVectorOfStructs(m_nodes);
    const auto buffers = builder.CreateVectorOfStructs(m_buffers);
    return messages::CreateRecordBatch(builder, rows, nodes, buffers);
  }
  // Calls `write` with the buffers, each with its padding.
  void WriteTo(const Sink& write) const {
    for (const std::string_view bytes : m_bytes) {
      if (bytes.empty()) continue;
      write(bytes);
      const auto size = static_cast<std::int64_t>(bytes.size());
      write({kZeros.data(), static_cast<std::size_t>(Padded(size) - size)});
    }
  }

 private:
  // A missing buffer is an empty one.
  void AddBuffer(const void* bytes, std::int64_t size) {
    if (bytes == nullptr) size = 0;
    m_buffers.emplace_back(m_size, size);
    m_bytes.emplace_back(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
    m_size += Padded(size);
  }

  template <class TextOffset>
  void AddTexts(const ArrowArray& array) {
    const auto* const offsets = static_cast<const TextOffset*>(array.buffers[1]);
    AddBuffer(offsets, (array.length + 1) * static_cast<std::int64_t>(sizeof(TextOffset)));
    AddBuffer(array.buffers[2], offsets == nullptr ? 0 : offsets[array.length]);
  }

  std::vector<messages::FieldNode> m_nodes;
  std::vector<messages::Buffer> m_buffers;
  std::vector<std::string_view> m_bytes;
  std::int64_t m_size = 0;
};

class FileWriter {
 public:
  explicit FileWriter(const Sink& write) : m_write(write) {}

  void Write(ArrowArrayStream* stream) {
    arrowin::ArrowInput input(stream);
    const ArrowSchema& schema = input.Schema();
    Put(kFileStart);
    FlatBufferBuilder builder;
    PutMessage(builder, messages::MessageHeader::Schema, BuildSchema(builder, schema).Union(), {});
    m_dictionaries.resize(input.Columns());
    while (const ArrowArray* const rows = input.Next()) {
      PutRows(*rows, schema);
      KeepDictionaries(*rows);
    }
    PutDictionaries(schema);
    PutNumber(kContinuation);
    PutNumber(0);
    PutFooter(schema);
  }

 private:
  // The latest dictionary of a column: each begins with all of the one before.
  struct LabelTexts {
    std::vector<std::int32_t> offsets{0};
    std::string text;
  };

  void PutRows(const ArrowArray& rows, const ArrowSchema& schema) {
    Body body;
    for (std::int64_t k = 0; k < rows.n_children; ++k) body.Add(*rows.children[k], schema.children[k]->format);
    FlatBufferBuilder builder;
    m_batches.push_back(
        PutMessage(builder, messages::MessageHeader::RecordBatch, body.Build(builder, rows.length).Union(), body));
  }

  void KeepDictionaries(const ArrowArray& rows) {
    for (std::int64_t k = 0; k < rows.n_children; ++k) {
      const ArrowArray* const dictionary = rows.children[k]->dictionary;
      if (dictionary == nullptr) continue;
      LabelTexts& kept = m_dictionaries[static_cast<std::size_t>(k)];
      const std::size_t known = kept.offsets.size() - 1;
      const auto size = static_cast<std::size_t>(dictionary->length);
      if (size <= known) continue;
      const auto* const offsets = static_cast<const std::int32_t*>(dictionary->buffers[1]);
      const auto* const text = static_cast<const char*>(dictionary->buffers[2]);
      kept.offsets.insert(kept.offsets.end(), offsets + known + 1, offsets + size + 1);
      if (text != nullptr) kept.text.append(text + kept.text.size(), text + offsets[size]);
    }
  }

  void PutDictionaries(const ArrowSchema& schema) {
    for (std::int64_t k = 0; k < schema.n_children; ++k) {
      if (schema.children[k]->dictionary == nullptr) continue;
      const LabelTexts& texts = m_dictionaries[static_cast<std::size_t>(k)];
      const std::array<const void*, 3> buffers{nullptr, texts.offsets.data(), texts.text.data()};
      ArrowArray array{};
      array.length = static_cast<std::int64_t>(texts.offsets.size()) - 1;
      array.n_buffers = buffers.size();
      std::array<const void*, 3> pointers = buffers;
      array.buffers = pointers.data();
      Body body;
      body.Add(array, "u");
      FlatBufferBuilder builder;
      const auto data = body.Build(builder, array.length);
      m_dictionaryBlocks.push_back(PutMessage(builder, messages::MessageHeader::DictionaryBatch,
                                              messages::CreateDictionaryBatch(builder, k, data).Union(), body));
    }
  }

  // Finishes the message and writes it with its body. Returns its place.
  messages::Block PutMessage(FlatBufferBuilder& builder, messages::MessageHeader kind, Offset<void> header,
                             const Body& body) {
    builder.Finish(messages::CreateMessage(builder, messages::MetadataVersion::V5, kind, header, body.Size()));
    const std::int64_t start = m_position;
    const auto size = static_cast<std::int64_t>(builder.GetSize());
    const std::int64_t end = Padded(start + kPrefixSize + size);  // where the body begins
    const auto metadataSize = static_cast<std::int32_t>(end - start - kPrefixSize);
    PutNumber(kContinuation);
    PutNumber(metadataSize);
    Put(BytesOf(builder));
    Put({kZeros.data(), static_cast<std::size_t>(metadataSize - size)});
    body.WriteTo([this](std::string_view bytes) { Put(bytes); });
    return {start, static_cast<std::int32_t>(end - start), body.Size()};
  }

  void PutFooter(const ArrowSchema& schema) {
    FlatBufferBuilder builder;
    const auto builtSchema = BuildSchema(builder, schema);
    const auto dictionaries = builder.CreateVectorOfStructs(m_dictionaryBlocks);
    const auto batches = builder.CreateVectorOfStructs(m_batches);
    builder.Finish(messages::CreateFooter(builder, messages::MetadataVersion::V5, builtSchema, dictionaries, batches));
    Put(BytesOf(builder));
    PutNumber(static_cast<std::int32_t>(builder.GetSize()));
    Put(kMagic);
  }

  static std::string_view BytesOf(const FlatBufferBuilder& builder) {
    const void* const bytes = builder.GetBufferPointer();
    return {static_cast<const char*>(bytes), builder.GetSize()};
  }

  void PutNumber(std::int32_t number) {
    const auto bytes = std::bit_cast<std::array<char, sizeof number>>(number);
    Put({bytes.data(), bytes.size()});
  }
  void Put(std::string_view bytes) {
    m_write(bytes);
    m_position += static_cast<std::int64_t>(bytes.size());
  }

  const Sink& m_write;
  std::int64_t m_position = 0;
  std::vector<messages::Block> m_batches;
  std::vector<LabelTexts> m_dictionaries;  // an element for each column
  std::vector<messages::Block> m_dictionaryBlocks;
};

}  // namespace

}  // namespace arrowfile

void WriteArrowFile(ArrowArrayStream* stream, const std::function<void(std::string_view)>& write) {
  try {
    arrowfile::FileWriter(write).Write(stream);
  } catch (const arrowin::StreamFailure& failure) {
    throw ArrowFileError(failure.Text());
  } catch (const ArrowImportError& error) {
    throw ArrowFileError(error.what());
  }
}
