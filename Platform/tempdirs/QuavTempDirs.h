// The directories for temporary files, and names for such files.
//
// The caller sets the list. Otherwise it comes from the environment variable TMPDIR: one directory, or several with
// ":" between them (if the whole text is the name of a directory, it counts as one). Without the variable it is /tmp.
// The directories take turns.
//
// A directory is left out, with the warning 1004, when no file can be made in it: it does not exist, it is no
// directory, it is not writable, or its name leaves no room for the name of a file. If no directory is left, that is
// the error 1001.
//
// Threads: set the list before the work begins; from then on any number of threads may ask for names. One of them makes
// the list from the environment when nobody has set it, and the others wait for it.

#ifndef PLATFORM_TEMPDIRS_QUAVTEMPDIRS_H
#define PLATFORM_TEMPDIRS_QUAVTEMPDIRS_H

#include <atomic>
#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

#include "Platform/Export.h"
#include "Platform/messages/ErrorMonitor.h"

class DATASRC_API QuavTempDirs {
 public:
  // The list of the process. The first use makes the list from the environment when Set was not called before.
  static QuavTempDirs& Instance();

  // Takes those of the directories that are usable now; relative names are relative to the present directory.
  // `monitor` gets a warning for each of the others; null means silence. Throws QuavServerError 1001 when no
  // directory is left: the list is then empty and must be set again.
  void Set(const std::vector<std::string>& directories, ErrorMonitor* monitor);
  // Calls Set with the directories of the environment.
  void SetFromEnvironment(ErrorMonitor* monitor);

  // The number of directories: at least 1, unless the last Set threw.
  std::size_t Size();
  // `index` is below Size(); this is asserted.
  const std::string& Directory(std::size_t index);
  // Returns the directory whose turn it is. Asserts that the list is not empty.
  const std::string& Next();

 private:
  QuavTempDirs() = default;

  void NeedList();
  DATASRC_LOCAL void Take(const std::vector<std::string>& directories, ErrorMonitor* monitor);

  std::mutex m_making;                     // held while the list is made from the environment
  std::vector<std::string> m_directories;  // absolute; changes only before m_set, or in Set
  std::atomic<bool> m_set = false;
  std::atomic<std::size_t> m_turn = 0;
};

// The size in bytes of the buffer for FormTempName, the terminator included.
inline constexpr std::size_t kTempNameRoom = 256;

// Writes the path of a file in the directory whose turn it is, and returns the buffer. The file's name begins with the
// whole prefix and is unique: no other process, thread or call gets the same. The function makes no file. Throws
// QuavServerError 1001 when there is no temp directory, and when the path with this prefix would not fit the buffer; a
// prefix of up to 32 bytes always fits.
DATASRC_API char* FormTempName(const char* prefix, char* buffer);

#endif
