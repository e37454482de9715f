// Reads the dictionary of a system file: everything after the magic, up to and including the end record.
// Format: docs/system-file.md.
//
//   header                  ReadHeader
//   variable records        ReadVariableRecord, then CloseVariablePart once
//   label records           ReadLabelRecord
//   document records        ReadDocumentRecord
//   extension records       ReadExtensionRecord
//   end record
//
// Threads: one thread; a reader lives as long as one opening.

#ifndef DATASRC_SRC_SYSTEMFILE_DICTIONARYREADER_H
#define DATASRC_SRC_SYSTEMFILE_DICTIONARYREADER_H

#include <cstddef>
#include <cstdint>
#include <source_location>
#include <unordered_set>

#include "Platform/messages/ThrowError.h"
#include "Platform/stream/QUAV_FileStream.h"
#include "core/ByteOrder.h"
#include "datasrc/QUAV_FortranDictionary.h"
#include "datasrc/SystemFileDataSource.h"
#include "systemfile/SystemFileOptions.h"

class SystemFileExtensionRecord;

enum class FileKind { plain, zlib, encrypted };

// Reads the magic and returns the kind of file. For plain and zlib files this consumes 4 bytes. Throws
// SystemFileException 1204 for an unknown magic, 1205 when the file is too short.
FileKind TestMagic(QUAV_FileStream& file);

class DictionaryReader {
 public:
  DictionaryReader(SystemFileDataSource& source, SystemFileOptions& options, QUAV_FileStream& file);

  // Throws SystemFileException, with the place of the record.
  void Read();
  // Returns the place of the record that was begun last.
  const FilePlace& Place() const { return m_place; }
  // Returns the place of the record that the documents are from; unknown without documents.
  const FilePlace& DocumentsPlace() const { return m_documentsPlace; }
  // Returns the place of the record that the names of the variables are from.
  const FilePlace& NamesPlace() const { return m_namesPlace; }

 private:
  void ReadHeader();
  void ReadRecords();
  void ReadVariableRecord();
  void CloseVariablePart();
  void ReadLabelRecord();
  QUAV_Variable& VariableAt(std::int32_t slot);
  void ReadDocumentRecord();
  void ReadExtensionRecord();
  void HandOver(std::int32_t subtype, const SystemFileExtensionRecord& record);
  void RequireLittleRepeating(std::int32_t subtype, std::int64_t size);
  // These only note.
  void NoteHeaderFlaws();
  void NoteRepeated(std::int32_t subtype);
  void NoteFlawAt(std::int64_t offset, const char* text);

  // ReadWhole reads `size` bytes. RequireLeft only checks that they are left, before anything is allocated for them.
  // Both throw SystemFileException 1205 with the expression when the file has fewer.
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
  // Deliberate: reads what there is and leaves the rest of the bytes as it is. If the file is too short, the next
  // record shows it. Only a failed stream throws at once, SystemFileException 1205.
  void ReadLoosely(void* bytes, std::size_t size);
  // Returns how many bytes of the file are left.
  std::int64_t Left();

  SystemFileDataSource& m_source;
  SystemFileOptions& m_options;
  QUAV_FileStream& m_file;
  QUAV_FortranDictionary m_slots;
  std::int64_t m_fileLength;
  std::unordered_set<std::int32_t> m_handledSubtypes;  // of the records so far that went to a handler
  std::int64_t m_bytesOfSets = 0;                      // contents of the records so far of multiple response sets
  std::int64_t m_repeatedWork = 0;                     // what the repeated records so far have to go through
  FilePlace m_place;
  FilePlace m_documentsPlace;
  FilePlace m_namesPlace;
  // For findings only.
  std::unordered_set<std::int32_t> m_foundSubtypes;
  std::int32_t m_nominalCaseSize = 0;  // as the header says
};

// Reads from after the magic up to and including the end record. All reads go through the stream's virtual operations.
void ReadSystemFileDictionary(SystemFileDataSource& source, SystemFileOptions& options, QUAV_FileStream& file);

#endif
