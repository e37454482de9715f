// A system file as a data source.
//
// A constructor with a file name opens the file and reads its dictionary; MakeIterator then delivers its cases. Each
// iterator reads the file by itself, so several may walk it independently.
//
// Faults of the file are thrown as QuavServerError:
//
//   1201  the file cannot be opened (with the system's reason)
//   1204  this is no system file, or a record of it is malformed
//   1205  the file ends too soon
//   1206  the cases are compressed in a way that cannot be read
//   1214  the file is encrypted
//
// Some malformed records break a rule of the library and end the process by an assertion: an extension record without
// contents or of a negative subtype, and value labels for a slot at which no variable begins.
//
// Threads: opening and changing belong to one thread. Iterators may be on different threads, one thread for each; those
// of a byte-code compressed file share an index of positions without a lock, so they must not work at the same time.

#ifndef DATASRC_SYSTEMFILEDATASOURCE_H
#define DATASRC_SYSTEMFILEDATASOURCE_H

#include <memory>
#include <string>

#include "Platform/Export.h"
#include "Platform/stream/ExtNameStr.h"
#include "datasrc/IndependentDataStore.h"

class SystemFileOptions;

class DATASRC_API SystemFileDataSource : public IndependentDataStore {
 public:
  class Iterator;
  class NameBank;
  class SaveDS;
  struct Data;

  // A source without a file, for a dictionary that is to be written. Its text is in the process's present encoding.
  SystemFileDataSource();
  // Open a file. The password is empty for a file that is not encrypted.
  SystemFileDataSource(const ExtNameStr& file, const ExtNameStr& password, bool mangled);
  SystemFileDataSource(const std::string& file, const std::string& password, bool mangled);
  ~SystemFileDataSource() override;

  QUAV_InputCaseIterator* MakeIterator(OBS* cells) const override;
  // The number of cases, -1 when it is not known. Reading to the end learns it, and corrects one that is too high.
  long long RowCount() const override;
  void RowCount(long long rows);

  // Throws 1209: the source is not open for writing.
  void AddRow(const OBS* row) override;
  // Ends the writing; nothing on a source that only reads.
  void Close() override;
  // Whether a source is open on the file of this name in the process.
  static bool IsOpen(const char* name);
  // true: byte codes (1), false: none (0).
  void SetCompression(bool compress) override;
  // 0 none, 1 byte codes, 2 zlib. Deliberate: with a password 2 means 1, and so does any other number.
  void SetCompressionLevel(int level) override;

  // Contract: the order of the virtual operations.
  // Whether a record of the subtype was found: 0 documents, 1 to 99 extension records.
  virtual bool bExtensionFound(int subtype) const;
  // Stores major, minor and revision of the writer's release; whether the file told them.
  virtual bool GetReleaseInfo(int* three) const;
  // Whether the file's numbers are in the other byte order than this machine's.
  virtual bool bReversedByteOrder() const;
  // What the file calls system-missing.
  virtual double GetFileSysmis() const;
  // For the reader, at the contents of the record of the case count.
  virtual void NoteNCasesLoc();

  // The file's encoding by name: what a record named, else what its character code means, else the process's default.
  std::string CharacterEncoding() const;
  void CharacterEncoding(const std::string& name);
  // The text at the start of the file that tells who wrote it.
  std::string EyeCatcher() const;
  void EyeCatcher(const std::string& text);
  bool GetCompression() const;
  int GetCompressionLevel() const;
  bool IsEncrypted() const;
  ExtNameStr GetPassword() const;
  bool GetPasswordMangled() const;
  // A password lowers compression 2 to 1.
  void SetPassword(const ExtNameStr& password);
  void SetPasswordMangled(bool mangled);

 private:
  void init(const ExtNameStr& file, const ExtNameStr& password, bool mangled);

  std::unique_ptr<Data> m_;
};

#endif
