// Makes the text of cases on several threads, block by block, and writes the blocks in their order.
//
//   TextBlocks blocks(shown, cellsPerCase, pool, output, blockSize);
//   blocks.Add(cells);   for each case
//   blocks.Finish();     writes the rest
//
// The text goes to the output in the same pieces as on one thread, and an error comes after the same pieces. After an
// exception nothing more is written.
//
// At most two blocks for each thread are kept.
//
// Threads: one thread at a time.

#ifndef TOOLS_FORMS_TEXTBLOCKS_H
#define TOOLS_FORMS_TEXTBLOCKS_H

#include <deque>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "tools/files/Output.h"
#include "tools/forms/CaseFormatter.h"
#include "tools/messages/Progress.h"
#include "tools/threads/TaskPool.h"

namespace tool {

class TextBlocks {
 public:
  // `blockSize` is in bytes of cells. Everything but `shown` outlives this object.
  TextBlocks(const ShownForm& shown, std::size_t cellsPerCase, TaskPool& pool, Output& output, std::size_t blockSize);
  ~TextBlocks();
  TextBlocks(const TextBlocks&) = delete;
  TextBlocks& operator=(const TextBlocks&) = delete;

  // `cells` points to the first cell of the case.
  void Add(const OBS* cells);
  void Finish();
  // From here on shows how many cases are written. The progress lives as long as cases are written.
  void Follow(Progress& progress);

  // These add up what the formatters of all blocks say (CaseFormatter.h, CaseText.h).
  long long ReplacedValues() const;
  void AddLosses(Losses& losses) const;

 private:
  struct Block {
    explicit Block(const ShownForm& shown) : formatter(shown) {}

    void MakeText(std::size_t cellsPerCase);

    CaseFormatter formatter;
    std::vector<OBS> cells;
    std::string text;
    std::vector<std::size_t> ends;  // of the text of each case
    std::exception_ptr failure;     // of the case after these
  };

  void TakeFreeBlock();
  void Submit();
  void WriteOldest();
  void Write(const Block& block);

  ShownForm m_shown;
  std::size_t m_cellsPerCase;
  std::size_t m_cellsPerBlock;
  Output& m_output;
  bool m_hasFailed = false;
  Progress* m_progress = nullptr;                // null for none
  long long m_written = 0;                       // cases since it was set
  std::vector<std::unique_ptr<Block>> m_blocks;  // all
  std::vector<Block*> m_free;
  std::deque<Block*> m_submitted;  // as in the line
  Block* m_filling = nullptr;
  TaskLine m_line;  // destroyed first
};

}  // namespace tool

#endif
