// Cuts an input into blocks of lines, and works on them on several threads, ahead of the caller.
//
//   LineBlocks blocks(input, work, make);
//   while (LineBlock* block = blocks.Next()) use(*block, blocks.LinesBefore());
//
// The input is read and cut on the caller's thread. At most two blocks for each thread are kept. A block has about the size
// that is wanted, and more when a line is longer.
//
// The bytes before a failure of the input come first, but not an incomplete line.
//
// Threads: one thread at a time.

#ifndef TOOLS_JSONLINES_LINEBLOCKS_H
#define TOOLS_JSONLINES_LINEBLOCKS_H

#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/files/InputBytes.h"
#include "tools/threads/BlockWork.h"

namespace tool {

// The lines of a block. LineBlocks stores the bytes and calls Work, on any thread.
class LineBlock {
 public:
  virtual ~LineBlock() = default;
  // Does what can be done with the lines by themselves.
  virtual void Work() = 0;

  // Stores the next line of the block, without its line feed. Returns false after the last one.
  bool NextLine(std::string_view& line);
  // Goes back to the first line.
  void Restart();
  // The number of the line that NextLine has stored, counted from 1 in the block.
  long long Number() const { return m_number; }

 private:
  friend class LineBlocks;

  std::string m_bytes;
  std::size_t m_next = 0;
  long long m_number = 0;
  long long m_lines = 0;
};

class LineBlocks {
 public:
  using MakeBlock = std::function<std::unique_ptr<LineBlock>()>;

  // The input, which is at its start, and the pool outlive this object.
  LineBlocks(InputBytes& input, const BlockWork& work, MakeBlock make);
  ~LineBlocks();
  LineBlocks(const LineBlocks&) = delete;
  LineBlocks& operator=(const LineBlocks&) = delete;

  // Returns the next block, whose work is done. It is valid until the next call. Returns null at the end. Throws the
  // failure of the input.
  LineBlock* Next();
  // The number of lines before the block.
  long long LinesBefore() const { return m_linesBefore; }

 private:
  void AddBlocks();
  bool Cut(std::string& block);
  void Fill(std::size_t size);

  InputBytes& m_input;
  std::size_t m_size;
  MakeBlock m_make;
  std::string m_rest;  // read, but not yet cut
  bool m_isAtEnd = false;
  std::exception_ptr m_failure;
  long long m_linesBefore = 0;
  std::unique_ptr<LineBlock> m_block;  // that the caller has
  std::vector<std::unique_ptr<LineBlock>> m_free;
  std::deque<std::unique_ptr<LineBlock>> m_ahead;  // as in the line of tasks
  TaskLine m_line;                                 // destroyed first
};

}  // namespace tool

#endif
