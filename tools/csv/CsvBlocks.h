// Takes the records of a CSV input on several threads, block by block, and delivers them in their order.
//
//   CsvBlocks blocks(input, reader, dialect, fields, work, make);
//   while (blocks.DeliverNext()) {
//   }
//
// The input is read and cut on the caller's thread (BlockCutter). The other threads parse each block with a CsvReader, and
// a RecordTaker takes its records. When the reader finds that a block does not end between two records, the bytes from the
// last record on are cut again, and so are all blocks after it. From there on fewer blocks are parsed ahead.
//
// Records, errors and the numbers of lines are those that one CsvReader gives for the whole input. Only the number of blank
// lines is kept.
//
// At most two blocks for each thread are kept.
//
// Threads: one thread at a time.

#ifndef TOOLS_CSV_CSVBLOCKS_H
#define TOOLS_CSV_CSVBLOCKS_H

#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/csv/BlockCutter.h"
#include "tools/csv/CsvReader.h"
#include "tools/messages/LineError.h"
#include "tools/threads/BlockWork.h"

namespace tool {

// Takes the records of one block after another. Take and IsFull are called on any thread, the others on that of the
// caller.
class RecordTaker {
 public:
  virtual ~RecordTaker() = default;
  // Forgets all records.
  virtual void Clear() = 0;
  // Takes the record that the reader has, which has as many fields as the header. Returns false when that is impossible;
  // Refuse then throws the reason.
  virtual bool Take(const CsvReader& reader) = 0;
  [[noreturn]] virtual void Refuse(const CsvReader& reader) = 0;
  // Returns true when no more records should be taken before the next call of Clear.
  virtual bool IsFull() const { return false; }
  // Hands out the records. So many records of one empty field come before them.
  virtual void Deliver(long long blankLines) = 0;
};

class CsvBlocks {
 public:
  using MakeTaker = std::function<std::unique_ptr<RecordTaker>()>;

  // `reader` has read the first records of the input, and holds no others. Each record has so many fields. The input and
  // the pool outlive this object.
  CsvBlocks(InputBytes& input, CsvReader& reader, const CsvDialect& dialect, std::size_t fields, const BlockWork& work,
            MakeTaker make);
  ~CsvBlocks();
  CsvBlocks(const CsvBlocks&) = delete;
  CsvBlocks& operator=(const CsvBlocks&) = delete;

  // Delivers the next records, those of a block or of a part of it. Returns false when there are none.
  bool DeliverNext();

 private:
  struct Block {
    Block(const std::string& name, const CsvDialect& dialect, std::unique_ptr<RecordTaker> recordTaker)
        : reader(name, dialect), taker(std::move(recordTaker)) {}

    // Takes the records of the bytes.
    void Parse(std::size_t fields);
    // Takes records until there is none, or the taker is full.
    void Work(std::size_t fields);

    std::string bytes;
    BlockCutter::End end = BlockCutter::End::block;
    CsvReader reader;
    std::unique_ptr<RecordTaker> taker;
    bool hasRecord = false;               // also when it could not be taken
    bool isDone = false;                  // nothing is left to take
    bool isRefused = false;               // the taker cannot take the reader's record
    std::optional<LineError> fault = {};  // of the record after those that were taken
  };

  bool OpenNext();
  void AddBlocks();
  void Deliver();
  void CloseBlock();
  void KeepBlankLines();
  void CutAgain();
  void ThrowFault();

  std::string m_name;
  CsvDialect m_dialect;
  std::size_t m_fields;
  MakeTaker m_make;
  BlockCutter m_cutter;
  long long m_linesBefore;         // the block
  long long m_blankLines = 0;      // before the block, which are records if another one follows
  long long m_firstBlankLine = 0;  // of them
  std::vector<std::unique_ptr<Block>> m_free;
  std::deque<std::unique_ptr<Block>> m_ahead;  // as in the line
  std::unique_ptr<Block> m_block;              // whose records are being delivered
  std::size_t m_mostAhead;
  TaskLine m_line;  // destroyed first
};

}  // namespace tool

#endif
