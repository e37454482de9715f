#include "Columns/batches/ColumnFiller.h"

#include <algorithm>
#include <utility>

#include "Columns/batches/PresentCells.h"
#include "Columns/batches/TextJoiner.h"

namespace {

bool HasMissingValues(const QUAV_Variable& variable) {
  const OBS* unused = nullptr;
  return variable.GetMissingValues(unused, unused, unused) != 0;
}

}  // namespace

// ---- Rows without a value ----

void ValidityBits::Begin(AlignedBuffer& bits) {
  m_bits = &bits;
  m_rows = 0;
}

// Counts whole words. The bytes after the last row are cleared for that.
std::size_t ValidityBits::CountRows() const {
  const std::size_t words = (m_rows + 63) / 64;
  auto* const bytes = m_bits->Room<std::uint8_t>(words * sizeof(std::uint64_t));
  std::fill(bytes + BytesOf(m_rows), bytes + words * sizeof(std::uint64_t), std::uint8_t{0});
  return CountPresent(m_bits->Room<std::uint64_t>(words), words);
}

void ValidityBits::End(BatchColumn& column) const {
  column.missing = static_cast<long long>(m_rows - CountRows());
  column.validity = column.missing == 0 ? nullptr : m_bits->Room<std::uint8_t>(1);
}

// ---- Numbers ----

NumberFiller::NumberFiller(const QUAV_Variable& variable, bool dropUserMissing, int blockRows)
    : m_variable(variable),
      m_dropUserMissing(dropUserMissing && HasMissingValues(variable)),
      m_blockRows(static_cast<std::size_t>(blockRows)) {}

void NumberFiller::Begin(ColumnBuffers& buffers, std::size_t rows) {
  m_buffers = &buffers;
  m_rows = 0;
  buffers.values.Room<OBS>(rows + m_blockRows);  // Target asks for a whole block
  m_validity.Begin(buffers.validity);
}

CellTarget NumberFiller::Target(std::size_t) {
  OBS* const cells = m_buffers->values.Room<OBS>(m_rows + m_blockRows) + m_rows;
  return {cells, m_dropUserMissing ? nullptr : m_validity.Room(m_blockRows)};
}

void NumberFiller::Add(std::size_t cases) {
  const OBS* const added = m_buffers->values.Room<OBS>(m_rows + 1) + m_rows;
  if (m_dropUserMissing)
    m_validity.Add(cases, [&](std::size_t row) { return m_variable.IsMissing(added + row) == 0; });
  else
    m_validity.Add(cases);
  m_rows += cases;
}

void NumberFiller::End(BatchColumn& column) {
  column.kind = BatchColumn::Kind::number;
  column.numbers = m_buffers->values.Room<double>(m_rows);
  m_validity.End(column);
}

// ---- Texts ----

namespace {

// Returns a cell with all bits set in the bytes that a field of this width has in its last cell.
OBS LastMask(int width) {
  const int used = width % 8;
  return {used == 0 ? ~std::uint64_t{0} : (std::uint64_t{1} << (8 * used)) - 1};
}

}  // namespace

TextFiller::TextFiller(const QUAV_Variable& variable, bool dropUserMissing, const quavmb::Encoding& encoding,
                       int blockRows, bool isLong)
    : m_variable(variable),
      m_dropUserMissing(dropUserMissing && HasMissingValues(variable)),
      m_encoding(encoding),
      m_blockRows(static_cast<std::size_t>(blockRows)),
      m_isLong(isLong),
      m_cells(CellCount(variable.GetType())),
      m_lastMask(LastMask(variable.GetType())),
      m_block(m_room.Room<OBS>(m_cells * m_blockRows)),
      m_ends(isLong ? m_blockRows : 0),
      m_isDropped(m_blockRows) {}

void TextFiller::Begin(ColumnBuffers& buffers, std::size_t rows) {
  m_buffers = &buffers;
  m_rows = m_textSize = 0;
  if (m_isLong)
    *buffers.values.Room<std::int64_t>(rows + 1) = 0;
  else
    *buffers.values.Room<std::int32_t>(rows + 1) = 0;
  RoomForText(rows);
  m_validity.Begin(buffers.validity);
}

void TextFiller::Add(std::size_t cases) {
  if (m_isLong)
    AddTexts<std::int64_t>(cases);
  else
    AddTexts<std::int32_t>(cases);
  m_rows += cases;
}

// Both write the texts of the block to `out`, after the others, and where they end.
JoinedTexts TextFiller::Join(std::size_t cases, char* out, std::int32_t* ends) {
  return JoinTexts({m_block, m_blockRows, m_cells, m_lastMask}, cases, out, static_cast<std::int32_t>(m_textSize),
                   ends);
}

JoinedTexts TextFiller::Join(std::size_t cases, char* out, std::int64_t* ends) {
  const JoinedTexts joined = JoinTexts({m_block, m_blockRows, m_cells, m_lastMask}, cases, out, 0, m_ends.data());
  for (std::size_t row = 0; row < cases; ++row) ends[row] = static_cast<std::int64_t>(m_textSize) + m_ends[row];
  return joined;
}

template <class Offset>
void TextFiller::AddTexts(std::size_t cases) {
  auto* const ends = m_buffers->values.Room<Offset>(m_rows + cases + 1) + m_rows + 1;
  char* const out = RoomForText(cases);
  const JoinedTexts joined = Join(cases, out, ends);
  if (m_dropUserMissing) {
    m_validity.Add(cases, [&](std::size_t row) {
      const bool isDropped = m_variable.IsMissing(m_block + row) != 0;
      m_isDropped[row] = isDropped;
      return !isDropped;
    });
  } else if (joined.arePrintable && m_encoding.HasAscii()) {
    m_textSize += joined.size;
    return;
  }
  m_joined.assign(out, joined.size);
  std::string_view rest = m_joined;
  auto begin = static_cast<Offset>(m_textSize);
  for (std::size_t row = 0; row < cases; ++row) {
    const auto length = static_cast<std::size_t>(ends[row] - std::exchange(begin, ends[row]));
    if (!m_isDropped[row]) AppendText(rest.substr(0, length));
    rest.remove_prefix(length);
    ends[row] = static_cast<Offset>(m_textSize);
  }
}

// Writes the text after the others, in UTF-8.
void TextFiller::AppendText(std::string_view text) {
  if (!m_encoding.IsPlain(text)) {
    m_encoding.ToUtf8(m_converted, text);
    text = std::string_view(m_converted).substr(0, m_converted.find_last_not_of(' ') + 1);
  }
  std::copy_n(text.data(), text.size(), m_buffers->text.Room<char>(m_textSize + text.size()) + m_textSize);
  m_textSize += text.size();
}

// Returns the place after the texts, with room for so many more.
char* TextFiller::RoomForText(std::size_t cases) {
  return m_buffers->text.Room<char>(m_textSize + cases * m_cells * sizeof(OBS) + kJoinSlack) + m_textSize;
}

void TextFiller::End(BatchColumn& column) {
  column.kind = m_isLong ? BatchColumn::Kind::long_text : BatchColumn::Kind::text;
  if (m_isLong)
    column.longOffsets = m_buffers->values.Room<std::int64_t>(m_rows + 1);
  else
    column.offsets = m_buffers->values.Room<std::int32_t>(m_rows + 1);
  column.text = m_buffers->text.Room<char>(1);
  m_validity.End(column);
}
