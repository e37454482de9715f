// Everything that parsing learns about a system file and that is not in the dictionary. Reader, writer and the
// handlers of extension records share it. It has three parts besides what the file says about its machine and its
// writer:
//
//   layout               how a case is stored; made at once, replaced as a whole
//   SystemFileWishes     what a caller may set before the file is written
//   SystemFileNames      the short and the long names
//
// Threads: one writer, or several readers.

#ifndef DATASRC_SRC_SYSTEMFILE_SYSTEMFILEOPTIONS_H
#define DATASRC_SRC_SYSTEMFILE_SYSTEMFILEOPTIONS_H

#include <atomic>
#include <cstdint>
#include <vector>

#include "core/ByteOrder.h"
#include "core/systemfileformat.h"
#include "datasrc/QUAV_DataSource.h"
#include "systemfile/SystemFileLayout.h"
#include "systemfile/SystemFileNames.h"
#include "systemfile/SystemFileWishes.h"

class DictionaryFindings;

class SystemFileOptions : public SystemFileNames, public SystemFileWishes {
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
  SystemFileLayout layout;
  bool reversed = false;

  ByteOrder Order() const { return reversed ? ByteOrder::reversed : ByteOrder::native; }

  // For a check of the dictionary, else null; not owned.
  DictionaryFindings* findings = nullptr;
  // Notes a flaw that readers pass over, when there are findings.
  void NoteFlaw(const char* text) const;
  // Notes that so many things, named in the plural, were passed over; nothing for 0.
  void NoteFlaws(long long count, const char* things) const;

  // Remembers that a record of the subtype was found. Ignores subtypes below 0 and from 100 on.
  void NoteExtension(int subtype);
};

#endif
