// A file in the making: it gets its name when it is whole.
//
//   NewFile file(path);
//   ... write to file.Descriptor(), or have file.Path() written by others ...
//   file.Finish();
//
// Until then it has no name at all, so that nothing remains of it however the process ends. Where the file system knows
// no nameless files it stands beside its final name, and is removed by the destructor. What stood under the final name
// stays until Finish, which replaces it in one step and keeps its mode; a symbolic link stays a link.
//
// Failures are thrown as ToolError.
//
// Threads: one thread at a time.

#ifndef TOOLS_FILES_NEWFILE_H
#define TOOLS_FILES_NEWFILE_H

#include <string>

namespace tool {

class NewFile {
 public:
  explicit NewFile(const std::string& path);
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;
  ~NewFile();

  int Descriptor() const { return m_descriptor; }
  // A name to open it by until it is finished.
  std::string Path() const;
  void Finish();

 private:
  bool MakeNameless();
  void MakeNamed();
  void GiveName();
  [[noreturn]] void Fail(const char* what) const;

  std::string m_name;       // for messages
  std::string m_finalName;  // behind symbolic links
  std::string m_partName;   // its name until it is finished; empty while it has none
  int m_descriptor = -1;
};

// Whether something stands under the name that is no regular file: a device, a pipe, a folder. It is written as it is.
bool IsIrregular(const std::string& path);
// Throws ToolError when both names lead to one file.
void RefuseToReplaceInput(const std::string& input, const std::string& output);

}  // namespace tool

#endif
