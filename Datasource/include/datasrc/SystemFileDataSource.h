// A system file as a data source, read, written or appended to.
//
// Reading: a constructor with a file name opens the file and reads its dictionary; MakeIterator then delivers its
// cases. Each iterator reads the file by itself, so several may walk it independently.
//
// A constructor takes a file's text as it is. GetSystemFile is the entry for callers that want it in the process's
// encoding: what it returns may be a view over the file, so it is ended with its whole line.
//
//   std::unique_ptr<QUAV_DataSource, LineDeleter> data(
//       SystemFileDataSource::GetSystemFile("survey.quav", "", false, &monitor));
//
// Writing, into the file under its final name:
//
//   SystemFileDataSource file;           set up its dictionary, or CopyDictionary
//   file.SetFileSpec("out.quav");
//   file.CommitDictionary();             makes the file; the first AddRow does it, too
//   file.AddRow(cells);                  for each case, GetObsAreaSize() cells
//   file.Close();                        finishes it; tells when anything could not be written
//
// With a password (SetPassword, CryptFileStream.h) the file is encrypted, as a whole, when it is closed. A password may
// be given plain or in its mangled form (PasswordCrypt.h): the form that the flag says is tried first, then the other
// one, and when that opens the file the flag is turned over. A file that is made takes the first that it can.
//
// AddRow on a source that was opened, or closed, appends to its file. The password must then be the one of the file: a
// different one that was set since is 1213. While an iterator of the source is alive there is
// no AddRow.
//
// Faults are thrown as QuavServerError:
//
//   1201  the file cannot be opened (with the system's reason)
//   1202  something could not be written: the file is not complete (with the system's reason)
//   1204  this is no system file, or a record of it is malformed
//   1205  the file ends too soon, or a zlib block of it is damaged (with the system's reason)
//   1206  the cases are compressed in a way that cannot be read
//   1209  the source is not in a state to be written
//   1210  cases cannot be appended to a file in the other byte order
//   1213  the password is wrong in either form, or the file is not an encrypted one
//   1214  the file is encrypted, and no password was given, or it was taken away since
//   1215  no memory can be locked for the key of an encrypted file
//   1504  no short name can be formed for a variable
//   1505  two variables have names that differ by case alone
//
// Some malformed records break a rule of the library and end the process by an assertion: an extension record without
// contents or of a negative subtype, and value labels for a slot at which no variable begins. So does the writing of a
// dictionary without variables.
//
// Threads: opening and changing belong to one thread. GetSystemFile changes the process's encoding while it opens a
// file in another one, so no other thread works with text in that span. Iterators may be on different threads, one
// thread for each; those of a byte-code compressed file share an index of positions without a lock, so they must not
// work at the same time.

#ifndef DATASRC_SYSTEMFILEDATASOURCE_H
#define DATASRC_SYSTEMFILEDATASOURCE_H

#include <memory>
#include <string>

#include "Platform/Export.h"
#include "Platform/messages/ErrorMonitor.h"
#include "Platform/stream/ExtNameStr.h"
#include "datasrc/IndependentDataStore.h"

class SystemFileOptions;

class DATASRC_API SystemFileDataSource : public IndependentDataStore {
 public:
  class TemporaryCodePage;
  class DATASRC_LOCAL Iterator;
  class DATASRC_LOCAL NameBank;
  class DATASRC_LOCAL SaveDS;
  struct DATASRC_LOCAL Data;

  // A source without a file, for a dictionary that is to be written. Its text is in the process's present encoding.
  SystemFileDataSource();
  // Open a file. The password is empty for a file that is not encrypted.
  SystemFileDataSource(const ExtNameStr& file, const ExtNameStr& password, bool mangled);
  SystemFileDataSource(const std::string& file, const std::string& password, bool mangled);
  ~SystemFileDataSource() override;

  // Opens a file and shows its text in the process's encoding: UTF-8 in the UTF-8 mode, else the default code page. A
  // file whose encoding that is comes as a SystemFileDataSource, not marked as changed. Else
  //   in the UTF-8 mode                 as a UTF8DataSource over it,
  //   outside it, when it is in UTF-8   as a CodePageDataSource over it,
  //   outside it, in another encoding   as it is, with warning 1721.
  // The caller owns the source and ends it with its line (DeleteLine, LineDeleter): a view does not own its parent. The
  // monitor may be null. Faults are those of the constructors; the process's encoding then is as it was, too.
  static QUAV_DataSource* GetSystemFile(const ExtNameStr& file, const ExtNameStr& password, bool passwordMangled,
                                        ErrorMonitor* monitor);
  static QUAV_DataSource* GetSystemFile(const std::string& file, const std::string& password, bool passwordMangled,
                                        ErrorMonitor* monitor);

  QUAV_InputCaseIterator* MakeIterator(OBS* cells) const override;
  // The number of cases, -1 when it is not known. Reading to the end learns it, and corrects one that is too high.
  long long RowCount() const override;
  // Declares it ahead of CommitDictionary, for a writer that cannot go back in its file.
  void RowCount(long long rows);

  // Makes the file of GetFileSpec() and writes the dictionary, which must not change from here on. When it fails, the
  // source is as it was before.
  void CommitDictionary() override;
  // Writes a case. When that fails, the case does not count, and those after it fail, too.
  void AddRow(const OBS* row) override;
  // Ends the writing: what is held is written, then the number of cases into the file. Nothing on a source that is not
  // being written. Throws 1202 when anything since CommitDictionary could not be written. The destructor does the same,
  // and is silent.
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

  // Renames the variables whose names a dictionary must not have (of bad characters, too long, equal but for case) to
  // v1, v2 and so on, and warns the monitor, which may be null, with number 1722 when there were any.
  static void FixVarNames(QUAV_DataSource& source, ErrorMonitor* monitor);
  static void FixVarNames(QUAV_DataSource& source);
  // The long name for a short one and back, terminated, into `out`: room for 64 bytes and the terminator. The names are
  // those of the file that was read. Throw 1507 for a name that it does not have; the first also may when the file's
  // table of names is not sorted.
  void GetCompatName(const char* name, char* out) const;
  void GetInputFileCompatName(const char* name, char* out) const;

  // The file's encoding by name: what a record named, else what its character code means, else the process's default.
  std::string CharacterEncoding() const;
  void CharacterEncoding(const std::string& name);
  // Whether that is the process's.
  bool IsCompatibleEncoding() const;
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

// The process's present encoding for the length of a scope: the code page of that name as the present converter (the
// empty name leaves it), and the UTF-8 mode on or off. The end of the scope brings back what was before.
//
// Threads: no other thread works with text in the scope.
class DATASRC_API SystemFileDataSource::TemporaryCodePage {
 public:
  TemporaryCodePage(const std::string& name, int utf8);
  ~TemporaryCodePage();
  TemporaryCodePage(const TemporaryCodePage&) = delete;
  TemporaryCodePage& operator=(const TemporaryCodePage&) = delete;

 private:
  bool m_changesConverter;
  std::string m_converter;  // that was present before; empty for none
  int m_utf8mode;           // as it was before
};

#endif
