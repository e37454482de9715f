// Fill the buffers of one column of a batch from the cells of its cases.
//
//   filler.Begin(buffers, rows);            a new batch, which will probably have so many rows
//   ... filler.Target(cell) ...             where the cells of the next cases are to be put, and their bits of presence
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
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Columns/batches/BatchBuffers.h"
#include "Columns/batches/CellTarget.h"
#include "Columns/batches/TextJoiner.h"
#include "Platform/text/Encoding.h"
#include "datasrc/Obs.h"
#include "datasrc/QUAV_Variable.h"

// Collects which rows have a value.
class ValidityBits {
 public:
  void Begin(AlignedBuffer& bits);
  // Returns the place for the bits of the next `count` rows. The unused bits of their last byte are to be 0.
  std::uint8_t* Room(std::size_t count) { return m_bits->Room<std::uint8_t>(BytesOf(m_rows + count)) + m_rows / 8; }
  // Both append `count` rows; until the last call of a batch, `count` is a multiple of 8. Of the first, the bits are in
  // the room already. The second calls `hasValue(row)` with rows counted from 0.
  void Add(std::size_t count) { m_rows += count; }
  template <class HasValue>
  void Add(std::size_t count, HasValue hasValue) {
    std::uint8_t* const bytes = Room(count);
    for (std::size_t row = 0; row < count; row += 8) {
      unsigned bits = 0;
      const std::size_t end = std::min<std::size_t>(8, count - row);
      for (std::size_t bit = 0; bit < end; ++bit) bits |= unsigned{hasValue(row + bit)} << bit;
      bytes[row / 8] = static_cast<std::uint8_t>(bits);
    }
    Add(count);
  }
  void End(BatchColumn& column) const;

 private:
  static std::size_t BytesOf(std::size_t rows) { return (rows + 7) / 8; }
  std::size_t CountRows() const;

  AlignedBuffer* m_bits = nullptr;
  std::size_t m_rows = 0;
};

class ColumnFiller {
 public:
  virtual ~ColumnFiller() = default;

  virtual void Begin(ColumnBuffers& buffers, std::size_t rows) = 0;
  // The cells of a case.
  virtual std::size_t Cells() const = 0;
  // Returns the place for the given cell of the next cases.
  virtual CellTarget Target(std::size_t cell) = 0;
  virtual void Add(std::size_t cases) = 0;
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
  CellTarget Target(std::size_t) override;
  void Add(std::size_t cases) override;
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
  CellTarget Target(std::size_t cell) override { return {m_block + cell * m_blockRows, nullptr}; }
  void Add(std::size_t cases) override;
  void End(BatchColumn& column) override;

 private:
  JoinedTexts Join(std::size_t cases, char* out, std::int32_t* ends);
  JoinedTexts Join(std::size_t cases, char* out, std::int64_t* ends);
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
  OBS* m_block;                      // in m_room: m_blockRows cells after one another for each cell of a case
  std::vector<std::int32_t> m_ends;  // of the texts of a block, where offsets are of 64 bits
  std::vector<char> m_isDropped;     // for each of them; always false without m_dropUserMissing
  std::string m_joined;              // the texts of a block that are not all plain

  ColumnBuffers* m_buffers = nullptr;
  std::size_t m_rows = 0;
  std::size_t m_textSize = 0;
  ValidityBits m_validity;
  std::string m_converted;
};

#endif
