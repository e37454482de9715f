// Fill the buffers of one column of a batch from the cells of its cases.
//
//   filler.Begin(buffers, rows);            a new batch, which will probably have so many rows
//   ... filler.Target(cell) ...             where the cells of the next cases are to be put
//   filler.Add(cases);                      they are there: takes them into the column
//   filler.End(column);                     says where the buffers of the batch are
//
// The buffers grow with the cases: how many there are is known only at the end. Room for those that are probable saves
// copies.
//
// Threads: one thread at a time.

#ifndef COLUMNS_BATCHES_COLUMNFILLER_H
#define COLUMNS_BATCHES_COLUMNFILLER_H

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Columns/batches/BatchBuffers.h"
#include "Columns/batches/TextJoiner.h"
#include "Platform/text/Encoding.h"
#include "datasrc/Obs.h"
#include "datasrc/QUAV_Variable.h"

// Collects which rows have a value.
class ValidityBits {
 public:
  void Begin(AlignedBuffer& bits);
  // Both append `count` rows; until the last call of a batch, `count` is a multiple of 8. The first calls
  // `hasValue(row)` with rows counted from 0. By the second, a row has a value unless its cell is system-missing.
  template <class HasValue>
  void Add(int count, HasValue hasValue) {
    std::uint8_t* const bytes = Room(count);
    for (int row = 0; row < count; row += 8) {
      unsigned bits = 0;
      const int end = std::min(8, count - row);
      for (int bit = 0; bit < end; ++bit) bits |= unsigned{hasValue(row + bit)} << bit;
      m_missing += end - std::popcount(bits);
      bytes[row / 8] = static_cast<std::uint8_t>(bits);
    }
    m_rows += count;
  }
  void AddCells(const OBS* cells, int count);
  void End(BatchColumn& column) const;

 private:
  std::uint8_t* Room(int count) {
    return m_bits->Room<std::uint8_t>(static_cast<std::size_t>(m_rows + count + 7) / 8) + m_rows / 8;
  }

  AlignedBuffer* m_bits = nullptr;
  long long m_rows = 0;
  long long m_missing = 0;
};

class ColumnFiller {
 public:
  virtual ~ColumnFiller() = default;

  virtual void Begin(ColumnBuffers& buffers, std::size_t rows) = 0;
  // The cells of a case.
  virtual std::size_t Cells() const = 0;
  // Returns the place for the given cell of the next cases.
  virtual OBS* Target(std::size_t cell) = 0;
  virtual void Add(int cases) = 0;
  virtual void End(BatchColumn& column) = 0;
};

// The cells of a number go straight into the column.
class NumberFiller final : public ColumnFiller {
 public:
  // The variable is copied. With `dropUserMissing`, its missing values count as none. At most `blockRows` cases are
  // added at once.
  NumberFiller(const QUAV_Variable& variable, bool dropUserMissing, int blockRows);

  void Begin(ColumnBuffers& buffers, std::size_t rows) override;
  std::size_t Cells() const override { return 1; }
  OBS* Target(std::size_t) override { return m_buffers->values.Room<OBS>(m_rows + m_blockRows) + m_rows; }
  void Add(int cases) override;
  void End(BatchColumn& column) override;

 private:
  QUAV_Variable m_variable;
  bool m_dropUserMissing;
  std::size_t m_blockRows;
  ColumnBuffers* m_buffers = nullptr;
  std::size_t m_rows = 0;
  ValidityBits m_validity;
};

// The cells of a text come into a block first, from which their bytes are joined, without trailing blanks.
class TextFiller final : public ColumnFiller {
 public:
  // At most `blockRows` cases are added at once. Offsets are of 64 bits if `isLong`.
  TextFiller(const QUAV_Variable& variable, bool dropUserMissing, const quavmb::Encoding& encoding, int blockRows,
             bool isLong);

  void Begin(ColumnBuffers& buffers, std::size_t rows) override;
  std::size_t Cells() const override { return m_cells; }
  OBS* Target(std::size_t cell) override { return m_block + cell * m_blockRows; }
  void Add(int cases) override;
  void End(BatchColumn& column) override;

 private:
  template <class Offset>
  void AddTexts(std::size_t cases);
  void AppendText(std::string_view text);
  char* RoomForText(std::size_t cases);

  QUAV_Variable m_variable;
  bool m_dropUserMissing;
  const quavmb::Encoding& m_encoding;
  std::size_t m_blockRows;
  bool m_isLong;
  std::size_t m_cells;  // of a case
  OBS m_lastMask;       // the bytes of the last cell that belong to the field
  AlignedBuffer m_room;
  OBS* m_block;                          // in m_room: m_blockRows cells after one another for each cell of a case
  std::vector<std::uint16_t> m_lengths;  // of the texts of the block
  std::vector<char> m_isDropped;         // for each of them; always false without m_dropUserMissing
  std::string m_joined;                  // the texts of a block that are not all plain

  ColumnBuffers* m_buffers = nullptr;
  std::size_t m_rows = 0;
  std::size_t m_textSize = 0;
  ValidityBits m_validity;
  std::string m_converted;
};

#endif
