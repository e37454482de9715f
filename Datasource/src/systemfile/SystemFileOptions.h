// Everything that parsing learns about a system file and that is not in the dictionary. Reader, writer and the
// handlers of extension records share it.
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
  double bias = kCompressionBias;  // kept; the case codes do not use it
  double systemMissing = QUAV_DataSource::SystemMissing();
  double highNumber = QUAV_DataSource::HighNumber();
  double lowNumber = QUAV_DataSource::LowNumber();
  // -1 when unknown. Iterators on several threads may set it at the end of the data.
  std::atomic<long long> numberOfCases{-1};
  // The number of cases as the file has it: what a reader of the file finds, -1 when unknown; and the form of record
  // 16, whose place the owner of these options knows.
  struct StoredCaseCount {
    long long count = -1;
    int offset = kCaseCountOffset;  // in the contents of the record
    ByteOrder order = ByteOrder::native;
  };
  StoredCaseCount storedCaseCount;
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
  std::string characterEncoding;  // empty: characterCode decides
  ExtNameStr _password;
  bool passwordMangled = false;
  // After reading: (short, long), in the order of the file. While writing: (long, short), in the order of the
  // columns; sorted once the dictionary is written.
  Renames renames;

  ByteOrder Order() const { return reversed ? ByteOrder::reversed : ByteOrder::native; }

  // Sets the number of cells that a case has in the file, and adapts the numeric cell map.
  void SetNominalCaseSize(std::int32_t cells);
  // For a reversed file only: a flag for each cell of a case in the file, true for a number. Null without numbers.
  const bool* NumericCellMap() const { return m_numericCells.get(); }
  // `cell` must be below the nominal case size.
  void MarkNumericCell(int cell);

  // ---- Short names ----

  // Removes points and underlines at the end. Returns whether there were any.
  static bool checkTerminalChar(char* text);
  // Copies the first `len` bytes of the text, but no part of a character, into `dst` of len + 1 bytes. Returns the
  // number of bytes.
  static int strTrunc(char* dst, const char* src, int len);
  // Writes the beginning of the name, "_" and the letters of n, at most `maxLen` bytes, into `out` of maxLen + 1
  // bytes. Returns 0; 1504 when too little of the name would remain.
  static int addNameSuffix(char* out, const char* name, int n, int maxLen);

  // Remembers that a record of the subtype was found. Ignores subtypes below 0 and from 100 on.
  void NoteExtension(int subtype);

 private:
  std::unique_ptr<bool[]> m_numericCells;  // nominalCaseSize flags
};

#endif
