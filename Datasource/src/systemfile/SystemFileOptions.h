// All that parsing learns about a system file and that is not part of the dictionary. Reader, writer and the handlers
// of extension records share it.
//
// Threads: one writer, or several readers.

#ifndef DATASRC_SRC_SYSTEMFILE_SYSTEMFILEOPTIONS_H
#define DATASRC_SRC_SYSTEMFILE_SYSTEMFILEOPTIONS_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Platform/stream/ExtNameStr.h"
#include "core/ByteOrder.h"
#include "core/systemfileformat.h"
#include "datasrc/QUAV_DataSource.h"
#include "systemfile/Rename.h"
#include "systemfile/SystemFileDechunker.h"

class SystemFileOptions {
 public:
  double bias = kCompressionBias;  // kept; the case codes do not consult it
  double systemMissing = QUAV_DataSource::SystemMissing();
  double highNumber = QUAV_DataSource::HighNumber();
  double lowNumber = QUAV_DataSource::LowNumber();
  // -1: unknown. Iterators on several threads may learn it at the end of the data.
  std::atomic<long long> numberOfCases{-1};
  std::int32_t nominalCaseSize = -1;  // cells of a case in the file; SetNominalCaseSize changes it
  std::string eyeCatcher = kDefaultEyeCatcher;
  std::int32_t layoutCode = 2;
  std::int32_t releaseMajor = kReleaseMajor;
  std::int32_t releaseMinor = kReleaseMinor;
  std::int32_t releaseRevision = kReleaseRevision;
  std::int32_t machineCode = kMachineCode;
  std::int32_t floatingPoint = 1;
  std::int32_t compressionCode = 1;
  std::int32_t characterCode = 2;  // the number of the file's code page
  std::int32_t weightIndex = 0;    // 1-based slot, 0 none
  std::vector<bool> extensionsFound = std::vector<bool>(kExtensionsFoundSize);
  SystemFileDechunker dechunker;
  std::int32_t compression = kCompressionNone;
  bool reversed = false;
  bool hasLongNames = false;
  std::string characterEncoding;  // empty when no record named one
  ExtNameStr _password;
  bool passwordMangled = false;
  Renames renames;  // as read, (short, long) in the file's order; as written, (long, short) in the order of the columns

  ByteOrder Order() const { return reversed ? ByteOrder::reversed : ByteOrder::native; }

  // How many cells a case has in the file. The numeric cell map follows.
  void SetNominalCaseSize(std::int32_t cells);
  // Only for a reversed file: a flag for each cell of a case in the file, true for a number. Null when no cell is one.
  const bool* NumericCellMap() const { return m_numericCells.get(); }
  // `cell` lies below the nominal case size.
  void MarkNumericCell(int cell);

  // ---- Short names ----

  // Cuts points and underlines off the end. Whether there were any.
  static bool checkTerminalChar(char* text);
  // Copies the text's first `len` bytes, less a character that they cut, into `dst` of len + 1 bytes. Answers the
  // length.
  static int strTrunc(char* dst, const char* src, int len);
  // The beginning of the name, "_" and the letters of n, at most `maxLen` bytes, into `out` of maxLen + 1 bytes.
  // Answers 0; 1504 when that leaves nothing of the name.
  static int addNameSuffix(char* out, const char* name, int n, int maxLen);

  // Remembers that a record of the subtype was found; those below 0 or from 100 on are not remembered.
  void NoteExtension(int subtype);

 private:
  std::unique_ptr<bool[]> m_numericCells;  // nominalCaseSize flags
};

#endif
