// Copies the contents of a file.
//
// Threads: one thread at a time.

#ifndef TOOLS_FILES_FILECONTENTS_H
#define TOOLS_FILES_FILECONTENTS_H

#include <string>

namespace tool {

// Copies `file` from its start into the descriptor `to`, which must be at the start of its own file. Where possible,
// the kernel moves the bytes or lets both files share them. Throws errors 1201 and 1202 about `file`.
void CopyContents(const std::string& file, int to);

}  // namespace tool

#endif
