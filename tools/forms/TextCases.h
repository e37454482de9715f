// Writes cases to an output in one of the text forms.
//
// With several threads, they make the text of blocks of cases (TextBlocks). The table is always made on one thread: its
// first cases decide on the widths.
//
// Threads: one thread at a time.

#ifndef TOOLS_FORMS_TEXTCASES_H
#define TOOLS_FORMS_TEXTCASES_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tools/cases/CaseWriter.h"
#include "tools/files/Output.h"
#include "tools/forms/CaseFormatter.h"
#include "tools/forms/TableWriter.h"
#include "tools/forms/TextBlocks.h"
#include "tools/threads/TaskPool.h"

namespace tool {

class TextCases final : public CaseWriter {
 public:
  static constexpr std::size_t kBlockSize = 512UL * 1024;

  // Writes the columns of the source in the order of `indexes`. `form` must not be a system file; `dialect` is for CSV.
  // `encoding` is the name of the encoding of the source's text. Source and output outlive this object. So does the pool;
  // without one, or with one thread, the text is made on the caller's thread. `blockSize` is in bytes of cells.
  TextCases(const QUAV_DataSource& source, const std::vector<int>& indexes, const std::string& encoding, CaseForm form,
            const CsvDialect& dialect, ShowOptions options, Output& output, TaskPool* pool = nullptr,
            std::size_t blockSize = kBlockSize);

  void Begin() override;
  void WriteCase(const OBS* cells) override;
  bool Follow(Progress& progress) override;
  void CatchUp() override;
  void End() override;
  // Returns how many texts had bytes that are no text in the encoding, and were replaced. To be called after End.
  long long ReplacedTexts() const;

 private:
  Output& m_output;
  CaseFormatter m_formatter;
  CaseText* m_text;  // null for the table
  std::optional<TableWriter> m_table;
  std::optional<TextBlocks> m_blocks;  // only with several threads
};

// Returns the indexes of all columns of the source.
std::vector<int> AllColumns(const QUAV_DataSource& source);

}  // namespace tool

#endif
