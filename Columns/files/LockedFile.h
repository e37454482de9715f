// A file that a command adds to or replaces, locked so that two commands do not do that at once.
//
//   LockedFile file(path);   waits until no other LockedFile holds the file
//   ... read the file, write its successor ...
//   file.RefuseChange();     directly before the first change to the file, or before another file takes its place
//
// Only this project asks for the lock (flock). RefuseChange finds what other programs changed meanwhile. A path that is not
// a regular file is not locked: other code refuses it. On a file system without locks Warning() says so.
//
// Failures: error 1201 for a file that cannot be opened; FileFailure for all others.
//
// Threads: one thread at a time.

#ifndef COLUMNS_FILES_LOCKEDFILE_H
#define COLUMNS_FILES_LOCKEDFILE_H

#include <sys/stat.h>

#include <string>

namespace dstext {

class LockedFile {
 public:
  explicit LockedFile(const std::string& path);
  LockedFile(const LockedFile&) = delete;
  LockedFile& operator=(const LockedFile&) = delete;
  ~LockedFile();

  // Says why the file is not locked. Empty when it is, and for a path that is not a regular file.
  const std::string& Warning() const { return m_warning; }
  // Throws error 1201 when this process may not write the file.
  void RequireWritable() const;
  // Throws FileFailure when the file is no longer as it was locked, or when its path leads to another file.
  void RefuseChange() const;
  // Waits until the contents of the file are on the disk.
  void Sync() const;

 private:
  void Open();
  void Lock();
  bool HasName() const;
  void Close();

  std::string m_name;
  std::string m_warning;
  int m_descriptor = -1;    // -1 for a path that is not a regular file
  struct stat m_locked {};  // the file when it was locked
};

}  // namespace dstext

#endif
