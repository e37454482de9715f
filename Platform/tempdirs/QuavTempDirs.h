// The directories that temporary files go to, and names for such files.
//
// The list is the one that a caller sets, else that of the environment variable TMPDIR: one directory, or several with
// ":" between them (a directory that is there under the whole text counts as one). Without the variable it is /tmp.
// Directories take turns.
//
// A directory is left out, with the warning 1004, when no file can be made in it: it does not exist, it is none, it
// cannot be written, or its name leaves no room for a file's. When none is left that is the error 1001.
//
// Threads: the list is set before the work begins; from then on any number of threads may ask for names.

#ifndef PLATFORM_TEMPDIRS_QUAVTEMPDIRS_H
#define PLATFORM_TEMPDIRS_QUAVTEMPDIRS_H

#include <atomic>
#include <cstddef>
#include <string>
#include <vector>

#include "Platform/Export.h"
#include "Platform/messages/ErrorMonitor.h"

class DATASRC_API QuavTempDirs {
 public:
  // The process's list. Whoever first asks it for something, before it was set, has it made from the environment.
  static QuavTempDirs& Instance();

  // Takes the usable ones of the directories, as they are then; relative names count from the present directory.
  // `monitor` hears of the others; null is silence. Throws QuavServerError 1001 when none is left: the list is empty
  // then, and must be set anew.
  void Set(const std::vector<std::string>& directories, ErrorMonitor* monitor);
  // As Set, with the directories that the environment names.
  void SetFromEnvironment(ErrorMonitor* monitor);

  // How many there are: at least 1, unless the last Set threw.
  std::size_t Size();
  // From 0 to below Size(), which is asserted.
  const std::string& Directory(std::size_t index);
  // The directory whose turn it is. Asserts that there is one.
  const std::string& Next();

 private:
  QuavTempDirs() = default;

  void NeedList();

  std::vector<std::string> m_directories;  // absolute
  bool m_set = false;
  std::atomic<std::size_t> m_turn = 0;
};

// The room that the buffer of FormTempName must have, in bytes, the end of the text included.
inline constexpr std::size_t kTempNameRoom = 256;

// Writes the path of a file in the directory whose turn it is, and returns the buffer. The file's name begins with the
// prefix (of which at most 32 bytes count) and is unique: no other process, thread or call gets the same. No file is
// made. Throws QuavServerError 1001 when there is no temp directory.
DATASRC_API char* FormTempName(const char* prefix, char* buffer);

#endif
