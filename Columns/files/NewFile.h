// A new file that gets its name when it is complete.
//
//   NewFile file(path);
//   ... write to file.Descriptor(), or let other code write file.Path() ...
//   file.Finish();
//
// Until Finish the file has no name, so nothing remains of it, however the process ends. On a file system without
// nameless files it has a name beside the final one, and the destructor removes it, or RemoveUnfinishedFiles does. An old
// file under the final name stays until Finish, which replaces it in one step and keeps its mode, and its owner and group
// where this process may set them. A symbolic link stays a link.
//
// Finish waits until the file, and then its name, are on the disk. After a crash of the system the name therefore leads
// to the old file or to the whole new one.
//
// Failures are thrown as FileFailure.
//
// Threads: one thread at a time.

#ifndef COLUMNS_FILES_NEWFILE_H
#define COLUMNS_FILES_NEWFILE_H

#include <string>

namespace dstext {

class LockedFile;

struct NewFileOptions {
  bool sync = true;                 // whether Finish waits for the disk
  const LockedFile* old = nullptr;  // if set, Finish throws when this file was changed; it outlives the new one
};

class NewFile {
 public:
  explicit NewFile(const std::string& path, const NewFileOptions& options = {});
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;
  ~NewFile();

  int Descriptor() const { return m_descriptor; }
  // Returns a path by which the file can be opened until it is finished.
  std::string Path() const;
  void Finish();

 private:
  bool MakeNameless();
  void MakeNamed();
  void GiveName();
  void KeepOwnerAndMode() const;
  [[noreturn]] void Fail(const char* what) const;

  std::string m_name;       // for messages
  std::string m_finalName;  // with symbolic links resolved
  NewFileOptions m_options;
  std::string m_partName;  // the name until the file is finished; empty for a nameless file
  int m_descriptor = -1;
};

// Removes the files of this process that have a name and are not finished. For handlers of signals that end the process: it
// calls only functions that are allowed there.
void RemoveUnfinishedFiles();

// Returns true when the path exists and is not a regular file: a device, a pipe, a folder. Output goes to it directly.
bool IsIrregular(const std::string& path);
// Throws FileFailure when the path exists, and is not a regular file or may not be written. A NewFile would replace a file
// that may not be written.
void RefuseUnwritableOutput(const std::string& path);
// Throws FileFailure when both names lead to one file. `what` the input is: "input file".
void RefuseToReplaceInput(const std::string& input, const std::string& output, const char* what = "input file");

}  // namespace dstext

#endif
