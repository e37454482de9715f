// Cases that come from text, written to a system file and read back: the file returns the same bits.

#ifndef FUZZ_CASESTHROUGHFILE_H
#define FUZZ_CASESTHROUGHFILE_H

#include <algorithm>
#include <clocale>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "MemoryFile.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/datasrc.h"
#include "tools/cases/CaseReader.h"
#include "tools/messages/Report.h"

// The most cells of all cases that a target keeps in memory: one wide value makes every case wide.
inline constexpr std::size_t kMaxCells = 1 << 20;

using Cells = std::vector<OBS>;

// Prepares the process for text, and keeps the warnings of the tool quiet.
inline void PrepareForText() {
  std::setlocale(LC_CTYPE, "C.UTF-8");
  SetUTF8mode(1);
  tool::PresentReportSettings().isQuiet = true;
}

inline void Require(bool condition) {
  if (!condition) __builtin_trap();
}

inline std::vector<Cells> RowsOf(tool::CaseReader& cases, const QUAV_DataSource& dictionary) {
  std::vector<Cells> rows;
  while (cases.Next()) rows.emplace_back(cases.Cells(), cases.Cells() + dictionary.GetObsAreaSize());
  return rows;
}

inline void WriteRows(const std::string& path, const QUAV_DataSource& dictionary, const std::vector<Cells>& rows,
                      bool compress) {
  SaveFile file;
  file.CopyDictionary(dictionary);
  file.SetCompression(compress);
  file.SetFileSpec(path.c_str());
  file.CommitDictionary();
  for (const Cells& row : rows) file.AddRow(row.data());
  file.Close();
}

inline void RequireRows(const std::string& path, const std::vector<Cells>& rows) {
  const SystemFileDataSource source(path, "", false);
  const std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
  for (const Cells& row : rows) {
    Require(source.GetObsAreaSize() == row.size() && cases->Next() != 0);
    Require(std::equal(row.begin(), row.end(), cases->GetObsPointer(0)));
  }
  Require(cases->Next() == 0);
}

inline void RequireRowsThroughFile(const QUAV_DataSource& dictionary, const std::vector<Cells>& rows) {
  for (const bool compress : {false, true}) {
    const MemoryFile file(nullptr, 0);
    WriteRows(file.Path(), dictionary, rows, compress);
    RequireRows(file.Path(), rows);
  }
}

#endif
