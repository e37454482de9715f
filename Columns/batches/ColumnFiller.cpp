#include "Columns/batches/ColumnFiller.h"

#include <algorithm>
#include <bit>

#include "Platform/text/Ascii.h"

// ---- Rows without a value ----

void ValidityBits::Begin(AlignedBuffer& bits) {
  m_bits = &bits;
  m_rows = m_missing = 0;
}

void ValidityBits::End(BatchColumn& column) const {
  column.missing = m_missing;
  column.validity = m_missing == 0 ? nullptr : m_bits->Room<std::uint8_t>(1);
}

// ---- Numbers ----

NumberFiller::NumberFiller(const QUAV_Variable& variable, bool dropUserMissing, int blockRows)
    : m_variable(variable), m_dropUserMissing(dropUserMissing), m_blockRows(static_cast<std::size_t>(blockRows)) {}

void NumberFiller::Begin(ColumnBuffers& buffers) {
  m_buffers = &buffers;
  m_rows = 0;
  m_validity.Begin(buffers.validity);
}

void NumberFiller::Add(int cases) {
  const OBS* const added = m_buffers->values.Room<OBS>(m_rows + 1) + m_rows;
  if (m_dropUserMissing)
    m_validity.Add(cases, [&](int row) { return m_variable.IsMissing(added + row) == 0; });
  else
    m_validity.Add(cases, [&](int row) { return added[row] != kSystemMissingCell; });
  m_rows += static_cast<std::size_t>(cases);
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

// Returns the number of bytes before the trailing blanks of a cell.
std::size_t LengthIn(OBS cell) {
  return 8 - static_cast<std::size_t>(std::countl_zero(cell.bits ^ kBlankCell.bits)) / 8;
}

}  // namespace

static_assert(std::endian::native == std::endian::little, "the first byte of a cell is its low one");

TextFiller::TextFiller(const QUAV_Variable& variable, bool dropUserMissing, const quavmb::Encoding& encoding,
                       int blockRows, bool isLong)
    : m_variable(variable),
      m_dropUserMissing(dropUserMissing),
      m_encoding(encoding),
      m_blockRows(static_cast<std::size_t>(blockRows)),
      m_isLong(isLong),
      m_cells(CellCount(variable.GetType())),
      m_lastMask(LastMask(variable.GetType())),
      m_block(m_cells * m_blockRows) {}

void TextFiller::Begin(ColumnBuffers& buffers) {
  m_buffers = &buffers;
  m_rows = m_textSize = 0;
  if (m_isLong)
    *buffers.values.Room<std::int64_t>(1) = 0;
  else
    *buffers.values.Room<std::int32_t>(1) = 0;
  buffers.text.Room<char>(1);
  m_validity.Begin(buffers.validity);
}

void TextFiller::Add(int cases) {
  if (m_isLong)
    AddTexts<std::int64_t>(cases);
  else
    AddTexts<std::int32_t>(cases);
  m_rows += static_cast<std::size_t>(cases);
}

template <class Offset>
void TextFiller::AddTexts(int cases) {
  const auto isDropped = [&](int row) {
    return m_dropUserMissing && m_variable.IsMissing(m_block.data() + static_cast<std::size_t>(row)) != 0;
  };
  m_validity.Add(cases, [&](int row) { return !isDropped(row); });
  auto* const ends = m_buffers->values.Room<Offset>(m_rows + static_cast<std::size_t>(cases) + 1) + m_rows + 1;
  for (int row = 0; row < cases; ++row) {
    if (!isDropped(row)) m_textSize += AppendText(static_cast<std::size_t>(row));
    ends[row] = static_cast<Offset>(m_textSize);
  }
}

// Bytes of the last cell after the end of the field do not belong to it, whatever they are.
inline OBS TextFiller::Cell(std::size_t cell, std::size_t row) const {
  const OBS whole = m_block[cell * m_blockRows + row];
  if (cell + 1 != m_cells) return whole;
  return {(whole.bits & m_lastMask.bits) | (kBlankCell.bits & ~m_lastMask.bits)};
}

// Writes the text of the row after the others. Returns its length.
std::size_t TextFiller::AppendText(std::size_t row) {
  std::size_t cells = m_cells;
  while (cells != 0 && Cell(cells - 1, row) == kBlankCell) --cells;
  if (cells == 0) return 0;

  char* const out = m_buffers->text.Room<char>(m_textSize + cells * sizeof(OBS)) + m_textSize;
  std::uint64_t allBits = 0;
  for (std::size_t cell = 0; cell < cells; ++cell) {
    const OBS bytes = Cell(cell, row);
    quavmb::StoreWord(out + cell * sizeof(OBS), bytes.bits);
    allBits |= bytes.bits;
  }
  const std::size_t length = (cells - 1) * sizeof(OBS) + LengthIn(Cell(cells - 1, row));
  const bool isAscii = (allBits & quavmb::kHighBits) == 0;
  if (isAscii && m_encoding.IsPlain({out, length})) return length;
  return AppendConverted({out, length});
}

// Replaces the text after the others by its form in UTF-8. Returns its length.
std::size_t TextFiller::AppendConverted(std::string_view text) {
  m_encoding.ToUtf8(m_converted, text);
  const std::size_t length = m_converted.find_last_not_of(' ') + 1;
  std::copy_n(m_converted.data(), length, m_buffers->text.Room<char>(m_textSize + length) + m_textSize);
  return length;
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
