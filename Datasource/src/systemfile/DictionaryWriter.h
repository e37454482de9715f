// Writes the dictionary of a system file: everything before the first case, the mirror of DictionaryReader.
// Format: docs/system-file.md.
//
//   header
//   variable records        one for each column, and continuations of longer strings
//   label records           one for each label map, by identity: columns that share a map share the record
//   document record
//   extension records       in ascending order of the subtypes
//   end record
//
// Threads: one thread.

#ifndef DATASRC_SRC_SYSTEMFILE_DICTIONARYWRITER_H
#define DATASRC_SRC_SYSTEMFILE_DICTIONARYWRITER_H

#include <cstddef>
#include <ctime>
#include <span>
#include <string>
#include <vector>

#include "Platform/stream/QUAV_FileStream.h"
#include "datasrc/QUAV_DataSource.h"
#include "datasrc/QUAV_ValueLabelMap.h"
#include "systemfile/SystemFileExtensionRecord.h"
#include "systemfile/SystemFileOptions.h"

class DictionaryWriter {
 public:
  // `dictionary` is in the file's form.
  DictionaryWriter(const QUAV_DataSource& dictionary, const SystemFileOptions& options, QUAV_FileStream& file)
      : m_dictionary(dictionary), m_options(options), m_file(file) {}

  // Records without units are not written. Returns the byte offset of the contents of record 16, 0 when there is no
  // such record.
  long long Write(const SystemFileExtensionRecords& extensions);

 private:
  void WriteHeader();
  void WriteVariableRecord(const QUAV_Variable& variable);
  void WriteLabelRecords();
  void WriteLabelSet(QUAV_ValueLabelMap map);
  void WriteLabelSetReferences(const std::vector<int>& slots);
  void WriteDocumentsRecords();
  long long WriteExtensionRecords(const SystemFileExtensionRecords& extensions);
  void WriteEnd();

  // Deliberate: ignores the result. The stream remembers a failure.
  void Put(std::span<const std::byte> bytes);

  const QUAV_DataSource& m_dictionary;
  const SystemFileOptions& m_options;
  QUAV_FileStream& m_file;
};

// The creation date "14 Mar 24" and time "10:20:30" of the header, in local time. A clock before 2 January 1970
// counts as the start of that day.
struct HeaderDateTime {
  std::string date;
  std::string time;
};
HeaderDateTime FormDateTime(std::time_t clock);

// Returns the header's number of cases at the time when the dictionary is written. Deliberate: -1 for every usual
// number. The true number is written at the end, unless record 16 already has it.
std::int32_t HeaderCaseCount(long long cases);

#endif
