#include "Columns/arrowfile/BodyArrays.h"

#include <utility>
#include <vector>

#include "Columns/arrowfile/FileLayout.h"
#include "Columns/arrowfile/ListElements.h"
#include "Platform/ByteOrder.h"
#include "datasrc/ArrowFile.h"

namespace arrowfile {

namespace {

constexpr std::int64_t kViewSize = 16;

[[noreturn]] void Refuse(const std::string& column, const char* trouble) {
  throw ArrowFileError("the column " + column + " " + trouble);
}

std::int64_t BytesOfBits(std::int64_t count) { return count / 8 + (count % 8 != 0 ? 1 : 0); }

// Requires room for so many elements of a width, without a product that could overflow.
void RequireRoom(std::int64_t size, std::int64_t count, std::int64_t width, const std::string& column) {
  if (count > size / width) Refuse(column, "has fewer bytes than its rows take");
}

}  // namespace

BodyArrays::BodyArrays(const messages::RecordBatch& batch, Bytes body) : m_batch(batch), m_body(std::move(body)) {
  if (batch.compression() != nullptr)
    throw ArrowFileError("the batches of the file are compressed: write it without compression");
  if (batch.length() < 0) throw ArrowFileError("a batch has a negative number of rows");
}

ArrayData BodyArrays::Next(const ValueShape& shape, const std::string& column) {
  if (m_batch.nodes() == nullptr || m_nextNode >= m_batch.nodes()->size())
    Refuse(column, "has no array in one of the batches");
  const messages::FieldNode node = ElementOf(*m_batch.nodes(), m_nextNode++);
  if (node.length() != Rows()) Refuse(column, "has an array with another number of rows than its batch");
  if (node.null_count() < 0 || node.null_count() > Rows()) Refuse(column, "has an impossible number of nulls");
  ArrayData array;
  array.length = Rows();
  array.nulls = node.null_count();
  array.owner = m_body.data;
  using Layout = ValueShape::Layout;
  if (shape.layout == Layout::none) {
    array.nulls = Rows();
    return array;
  }
  const Part validity = NextBuffer(column);
  if (validity.size == 0 && array.nulls != 0) Refuse(column, "has nulls, but does not say where");
  if (validity.size != 0) RequireRoom(validity.size, BytesOfBits(Rows()), 1, column);
  array.buffers = {validity.data};
  switch (shape.layout) {
    case Layout::none:
      break;
    case Layout::bits: {
      const Part values = NextBuffer(column);
      RequireRoom(values.size, BytesOfBits(Rows()), 1, column);
      array.buffers.push_back(values.data);
      break;
    }
    case Layout::fixed: {
      const Part values = NextBuffer(column);
      RequireRoom(values.size, Rows(), shape.width, column);
      array.buffers.push_back(values.data);
      break;
    }
    case Layout::texts32:
      AddTexts<std::int32_t>(array, column);
      break;
    case Layout::texts64:
      AddTexts<std::int64_t>(array, column);
      break;
    case Layout::views:
      AddViews(array, column);
      break;
  }
  return array;
}

void BodyArrays::RequireEnd() const {
  if (m_batch.nodes() != nullptr && m_nextNode != m_batch.nodes()->size())
    throw ArrowFileError("a batch has more columns than the schema");
}

BodyArrays::Part BodyArrays::NextBuffer(const std::string& column) {
  if (m_batch.buffers() == nullptr || m_nextBuffer >= m_batch.buffers()->size())
    Refuse(column, "has too few buffers in one of the batches");
  const messages::Buffer buffer = ElementOf(*m_batch.buffers(), m_nextBuffer++);
  if (buffer.length() == 0) return {nullptr, 0};
  if (buffer.offset() < 0 || buffer.length() < 0 || buffer.offset() > m_body.size ||
      buffer.length() > m_body.size - buffer.offset())
    Refuse(column, "has a buffer outside of its batch");
  if (buffer.offset() % kLeastAlignment != 0) Refuse(column, "has a buffer that is not at a multiple of 8 bytes");
  return {m_body.data.get() + buffer.offset(), buffer.length()};
}

template <class Offset>
void BodyArrays::AddTexts(ArrayData& array, const std::string& column) {
  const Part offsets = NextBuffer(column);
  const Part text = NextBuffer(column);
  array.buffers.insert(array.buffers.end(), {offsets.data, text.data});
  if (Rows() == 0) return;
  constexpr auto kWidth = static_cast<std::int64_t>(sizeof(Offset));
  if (Rows() >= offsets.size / kWidth) Refuse(column, "has fewer bytes than its rows take");
  std::int64_t before = 0;
  for (std::int64_t row = 0; row <= Rows(); ++row) {
    const std::int64_t offset = Load<Offset>(offsets.data + row * kWidth);
    if (offset < before) Refuse(column, "has texts that end before they begin");
    before = offset;
  }
  if (before > text.size) Refuse(column, "has texts outside of their buffer");
}

// The buffers of an array of views end with the sizes of those of the texts.
void BodyArrays::AddViews(ArrayData& array, const std::string& column) {
  const Part views = NextBuffer(column);
  RequireRoom(views.size, Rows(), kViewSize, column);
  array.buffers.push_back(views.data);
  const auto* const counts = m_batch.variadic_buffer_counts();
  if (counts == nullptr || m_nextCount >= counts->size()) Refuse(column, "does not say how many buffers it has");
  struct Owned {
    Bytes body;
    std::vector<std::int64_t> sizes;
  };
  auto owned = std::make_shared<Owned>(Owned{m_body, {}});
  for (std::int64_t left = ElementOf(*counts, m_nextCount++); left > 0; --left) {
    const Part text = NextBuffer(column);  // throws when there are not so many
    array.buffers.push_back(text.data);
    owned->sizes.push_back(text.size);
  }
  owned->sizes.push_back(0);  // so that the list has an address
  array.buffers.push_back(owned->sizes.data());
  array.owner = std::move(owned);
}

}  // namespace arrowfile
