// Copies the contents of a file.
//
// Threads: one thread at a time.

#ifndef TOOLS_FILES_FILECONTENTS_H
#define TOOLS_FILES_FILECONTENTS_H

#include <string>

namespace tool {

// From the start of the file into a descriptor that stands at the start of its own; the kernel moves the bytes, or lets
// both files share them, where it can. Errors 1201 and 1202, about `file`.
void CopyContents(const std::string& file, int to);

}  // namespace tool

#endif
