// A system file as a data source, to read, to write or to append to.
//
// Reading: a constructor with a file name opens the file and reads its dictionary. MakeIterator then delivers the
// cases. Each iterator has its own position in the file, so several iterators can walk it independently.
//
// A constructor does not convert the file's text. GetSystemFile is the entry for callers that want the text in the
// process's encoding. It may return a view over the file, so delete its result together with all parents:
//
//   std::unique_ptr<QUAV_DataSource, LineDeleter> data(
//       SystemFileDataSource::GetSystemFile("survey.quav", "", false, &monitor));
//
// Writing goes directly to the file under its final name:
//
//   SystemFileDataSource file;           set up its dictionary, or call CopyDictionary
//   file.SetFileSpec("out.quav");
//   file.CommitDictionary();             creates the file; without this call the first AddRow does it
//   file.AddRow(cells);                  for each case, GetObsAreaSize() cells
//   file.Close();                        completes the file; throws when anything could not be written
//
// Appending: AddRow on a source that was opened, or that was closed after writing, appends to its file. AddRow throws
// 1209 while an iterator of the source exists, and when the file is no longer the one that this source opened or left:
// another source has appended to it or replaced it. When an append cannot begin, the file stays as it is, and the
// source can still be read. An iterator of another source never delivers wrong cells because of an append: beyond the
// data that it found at first, it meets the end or an error.
//
// The case count of a file is not verified. An append to compressed cases begins at the row that the count gives, or
// at the end of the data when that is earlier: if the count is too low, the append replaces all rows from there on.
// An append to uncompressed cases always goes to the end of the file. Otherwise a wrong count stays wrong by the same
// number. Reading to the end of the data corrects a count that is too high or unknown (-1), never one that is too
// low.
//
// With a password (SetPassword, CryptFileStream.h), Close encrypts the file as a whole. A password that was set after
// the file was opened must be that of the file, otherwise an append is 1213; without it, 1214. A password may be plain or
// mangled (PasswordCrypt.h). To open a file, the class first tries the form that the flag says, then the other one;
// when the other one is right, it inverts the flag. A new file is encrypted with the first form that can be used.
//
// Faults are thrown as QuavServerError:
//
//   1201  the file cannot be opened (with the system's reason)
//   1202  something could not be written: the file is not complete (with the system's reason)
//   1204  the file is not a system file, or one of its records is malformed
//   1205  the file ends too soon, or a zlib block is damaged (with the system's reason when there is one)
//   1206  the cases are compressed in a way that cannot be read
//   1209  the state of the source does not allow writing, its dictionary no longer fits the cases of the file to which it
//         appends, or someone else has changed that file
//   1210  cases cannot be appended to a file in the other byte order
//   1213  the password is wrong in both forms, the file is not encrypted, or no temp directory is usable for its plain
//         copy; 1201 when the file is not writable
//   1214  the file is encrypted, and no password was given, or it was removed since
//   1215  no memory can be locked for the key of an encrypted file
//   1504  no short name can be formed for a variable
//   1505  two variables have names that differ only in case
//   1506  a file cannot hold the name of a variable: opening it would replace the name, see FixVarNames
//   1507  GetCompatName or GetInputFileCompatName does not know the name
//   1508  a file cannot hold an attribute: its name is not valid (ValidateQUAVNameCheckLastChar returns neither 0 nor 2),
//         or one of its values has a line feed or a NUL byte
//   1509  a file cannot hold a set: its name has a "=" or a line break, is the name of another set of the same record,
//         or begins with "$" in a plain set; or its label or value has a line break; or its type is not known
//   1510  a file cannot hold a missing value of a string wider than 8 bytes: it has a NUL byte
//
// An error in the dictionary also has the place of its record (QuavServerError::Place).
//
// Some malformed records break a rule of the library: opening the file then ends the process by an assertion.
// FindFatalRecord (SystemFileCheck.h) says before a file is opened whether it has such a record.
//
//   extension record  the unit size or the number of units is 0, or the subtype is negative
//   value labels      no variable begins at one of the slots
//   record 6          it has more than 10 date variables; a slot above 0 in a triple after the date key's, or in any
//                     triple when it has no date variables; a date key of another type than e_DATKEY and e_NONE
//   records 5, 7, 19  a line that begins with "$" does not follow its form (VariableSet.h); record 7 adds a missing "$"
//   records 5, 19     a set name occurs twice, and it is empty, or a set with the empty name comes before it
//   record 19         record 13 before it gave the empty name to a member of a set of record 7
//
// Writing a dictionary asserts that it has a variable, that its variable sets, if any, include a plain one, that each
// multiple response set has a name that begins with "$", and that each dichotomy has a value.
//
// Threads: one thread at a time opens, changes, writes or closes a source; different sources may be on different threads
// at the same time. Iterators of one source may be made and used on several threads at once, each on one thread,
// whatever the compression, encrypted or not. While GetSystemFile opens a file in another encoding, it changes the
// process's encoding: no other thread may work with text then.

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

  // Makes a source without a file, for a dictionary that will be written. CharacterEncoding() is UTF-8 in the UTF-8
  // mode, else the process's default code page.
  SystemFileDataSource();
  // Open a file and read its dictionary. The password is empty for a file that is not encrypted; the std::string form
  // takes it in UTF-8, and the file name in the present encoding. FixVarNames runs without a monitor.
  SystemFileDataSource(const ExtNameStr& file, const ExtNameStr& password, bool mangled);
  SystemFileDataSource(const std::string& file, const std::string& password, bool mangled);
  ~SystemFileDataSource() override;

  // Opens a file and returns a source with its text in the process's encoding: UTF-8 in the UTF-8 mode, else the
  // default code page.
  //
  //   file                                  returned source
  //   already in that encoding              a SystemFileDataSource
  //   another one, in the UTF-8 mode        a UTF8DataSource over it
  //   UTF-8, outside the UTF-8 mode         a CodePageDataSource over it
  //   other code page, outside that mode    a SystemFileDataSource, not converted; warning 1721
  //
  // The source is not marked as changed. The caller owns it and deletes it with its parents (DeleteLine,
  // LineDeleter): a view does not own its parent. The monitor may be null. Throws what the constructors throw; the
  // process's encoding is then restored. Both std::string arguments are in the present encoding.
  static QUAV_DataSource* GetSystemFile(const ExtNameStr& file, const ExtNameStr& password, bool passwordMangled,
                                        ErrorMonitor* monitor);
  static QUAV_DataSource* GetSystemFile(const std::string& file, const std::string& password, bool passwordMangled,
                                        ErrorMonitor* monitor);

  // A source that is being written is closed first, and its file is opened for reading. Seek accepts every row; Next
  // returns 0 for one that does not exist. Throws 1206, and what opening throws.
  QUAV_InputCaseIterator* MakeIterator(OBS* cells) const override;
  // Returns the number of cases, -1 when it is unknown. The number in a file is not verified (see above).
  long long RowCount() const override;
  // Declares the number of cases before CommitDictionary, for a file that cannot be reopened to store it. Nothing
  // verifies it; Close replaces it by the number of rows written, where the file can be reopened.
  void RowCount(long long rows);

  // Creates the file GetFileSpec() and writes the dictionary, which must not change from here on. Throws 1209 when
  // the source has a file already. Throws 1505, 1506 and 1508 to 1510 before it creates the file, or truncates the one
  // that is there. After another failure the file stays as far as it was written. After any failure the source is as it
  // was before.
  void CommitDictionary() override;
  // Writes a case of GetObsAreaSize() cells. When that fails, the case does not count, and all later ones fail, too. The
  // first case of an append throws the errors of the dictionary, too, when a file cannot hold what it was changed to.
  void AddRow(const OBS* row) override;
  // Ends the writing: writes the held bytes, then the number of cases into the file. Does nothing when the source is
  // not being written. Throws 1202 when anything since CommitDictionary, or since the append began, could not be
  // written; the number of cases is then that of the whole cases in the file, and an encrypted file gets nothing of
  // what was written. Throws 1202, too, when the number of cases cannot be stored and the file has an old one; one that stays
  // unknown is no failure. The destructor does the same without throwing.
  void Close() override;
  // Returns whether the process has a source that opened a file for reading under exactly this name.
  static bool IsOpen(const char* name);
  // Sets byte codes (1) for true, no compression (0) for false. These two are for a source before CommitDictionary: a
  // file that is there keeps its compression and its password, whatever is set.
  void SetCompression(bool compress) override;
  // Sets 0 none, 1 byte codes, 2 zlib. Deliberate: with a password 2 means 1, and so does any other number.
  void SetCompressionLevel(int level) override;

  // Contract: the order of the virtual operations.
  // Returns whether the file had a record of the subtype: 0 for documents, 1 to 99 for extension records.
  virtual bool bExtensionFound(int subtype) const;
  // Stores major, minor and revision of the writer's release into `three`. Returns whether the file has them; if not,
  // they are this library's.
  virtual bool GetReleaseInfo(int* three) const;
  // Returns whether the file's byte order is not this machine's.
  virtual bool bReversedByteOrder() const;
  // Returns the number that the file uses as system-missing.
  virtual double GetFileSysmis() const;
  // The reader calls this when the file position is at the contents of record 16, the case count.
  virtual void NoteNCasesLoc();

  // Renames variables to v1, v2 and so on when a dictionary must not have their names: empty names, bad characters,
  // more than 64 bytes, or equal to an earlier name without regard to case. Warns the monitor, which may be null,
  // with 1722 when it renamed any.
  static void FixVarNames(QUAV_DataSource& source, ErrorMonitor* monitor);
  static void FixVarNames(QUAV_DataSource& source);
  // Convert between the long name of a variable and the short one (at most 8 bytes) that its variable record holds.
  // The result, terminated, goes to `out`, which has room for 64 bytes and the terminator. Names are compared by
  // bytes.
  //
  //   source                                  GetCompatName     GetInputFileCompatName
  //   opened; the names of record 13          short to long     long to short
  //   after CommitDictionary; all columns     long to short     short to long
  //
  // Throw 1507 for a name that is not in the table. The table of a new source, and of a file without record 13, is
  // empty. Deliberate: on an opened source GetCompatName may also throw it when record 13 is not sorted.
  void GetCompatName(const char* name, char* out) const;
  void GetInputFileCompatName(const char* name, char* out) const;

  // The name of the file's encoding: the name that was set (the constructor without a file sets one), else that of the
  // code page number in record 3, else the process's default code page. Setting it before CommitDictionary decides the
  // number that the file gets; it converts no text.
  std::string CharacterEncoding() const;
  void CharacterEncoding(const std::string& name);
  // Returns whether it is UTF-8 in the UTF-8 mode, else whether it is the process's default code page.
  bool IsCompatibleEncoding() const;
  // The text at the start of the file that names its writer; the file holds 60 bytes of it.
  std::string EyeCatcher() const;
  void EyeCatcher(const std::string& text);
  bool GetCompression() const;
  int GetCompressionLevel() const;
  // Returns whether there is a password.
  bool IsEncrypted() const;
  ExtNameStr GetPassword() const;
  bool GetPasswordMangled() const;
  // Before CommitDictionary. A password that is not empty changes compression 2 to 1.
  void SetPassword(const ExtNameStr& password);
  void SetPasswordMangled(bool mangled);

 private:
  void init(const ExtNameStr& file, const ExtNameStr& password, bool mangled);

  std::unique_ptr<Data> m_;
};

// Sets the process's present encoding for a scope: makes the code page of that name the present converter (the empty
// name changes nothing), and switches the UTF-8 mode on or off. The destructor restores both.
//
// Threads: no other thread may work with text in the scope.
class DATASRC_API SystemFileDataSource::TemporaryCodePage {
 public:
  TemporaryCodePage(const std::string& name, int utf8);
  ~TemporaryCodePage();
  TemporaryCodePage(const TemporaryCodePage&) = delete;
  TemporaryCodePage& operator=(const TemporaryCodePage&) = delete;

 private:
  bool m_changesConverter;
  std::string m_converter;  // the present converter before the scope; empty for none
  int m_utf8mode;           // the mode before the scope
};

#endif
