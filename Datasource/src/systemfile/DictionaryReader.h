// Reads the dictionary of a system file: everything from behind the magic to behind the last dictionary record.
// Format: docs/system-file.md.
//
//   header                  ReadHeader
//   variable records        ReadVariableRecord, then CloseVariablePart once
//   label records           ReadLabelRecord
//   document records        ReadDocumentRecord
//   extension records       ReadExtensionRecord
//   end record
//
// Threads: one thread, for the time of one opening.

#ifndef DATASRC_SRC_SYSTEMFILE_DICTIONARYREADER_H
#define DATASRC_SRC_SYSTEMFILE_DICTIONARYREADER_H

#include <cstddef>
#include <cstdint>
#include <source_location>
#include <unordered_map>

#include "Platform/stream/QUAV_FileStream.h"
#include "core/ByteOrder.h"
#include "datasrc/QUAV_FortranDictionary.h"
#include "datasrc/SystemFileDataSource.h"
#include "systemfile/SystemFileOptions.h"

enum class FileKind { plain, zlib, encrypted };

// Reads the magic and tells which kind of file begins with it. 4 bytes are consumed for the first two kinds. Throws
// SystemFileException 1204 for anything else, 1205 for a file too short.
FileKind TestMagic(QUAV_FileStream& file);

class DictionaryReader {
 public:
  DictionaryReader(SystemFileDataSource& source, SystemFileOptions& options, QUAV_FileStream& file);

  // Throws SystemFileException.
  void Read();

 private:
  void ReadHeader();
  void ReadVariableRecord();
  void CloseVariablePart();
  void ReadLabelRecord();
  QUAV_Variable& VariableAt(std::int32_t slot);
  void ReadDocumentRecord();
  void ReadExtensionRecord();

  // Read `size` bytes. A file that has no more is SystemFileException 1205 with the expression; RequireLeft finds that
  // out before anything is allocated for them.
  void ReadWhole(void* bytes, std::size_t size, const char* expression,
                 std::source_location place = std::source_location::current());
  void RequireLeft(std::int64_t size, const char* expression,
                   std::source_location place = std::source_location::current());
  template <class T>
  T ReadNumber(const char* expression, std::source_location place = std::source_location::current()) {
    std::byte raw[sizeof(T)];
    ReadWhole(raw, sizeof(T), expression, place);
    return Load<T>(raw, m_options.Order());
  }
  // Deliberate: reads what is there and leaves the rest of the bytes as it is. Whatever is short here is found out at
  // the next record. Only a stream that fails is told at once, as SystemFileException 1205.
  void ReadLoosely(void* bytes, std::size_t size);
  // How many bytes of the file are left.
  std::int64_t Left();

  SystemFileDataSource& m_source;
  SystemFileOptions& m_options;
  QUAV_FileStream& m_file;
  QUAV_FortranDictionary m_slots;
  std::int64_t m_fileLength;
  std::unordered_map<std::int32_t, int> m_extensionRecords;  // how many there were of each subtype
};

// From behind the magic to behind the end record. All reads go through the stream's virtual operations.
void ReadSystemFileDictionary(SystemFileDataSource& source, SystemFileOptions& options, QUAV_FileStream& file);

#endif
