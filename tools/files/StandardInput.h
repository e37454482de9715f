// Standard input as a file, for what is read at any place and again.
//
// A regular file is one already. The bytes of a pipe are kept: up to 8 MB in memory, more in a temp file, which has no
// name and is enciphered, in a directory of TMPDIR. So the memory does not depend on their number.
//
// A temp file that cannot be made is error 1001. Bytes that cannot be read or kept are a ToolError.
//
// Threads: one thread at a time.

#ifndef TOOLS_FILES_STANDARDINPUT_H
#define TOOLS_FILES_STANDARDINPUT_H

#include <string>

#include "tools/files/InputBytes.h"

namespace tool {

// Returns a path at which the bytes of standard input can be read like a file, from its present place on. It is a path
// for the library, whose streams decipher what is enciphered. `begun` is null, or has bytes of standard input already.
// Afterwards standard input is at its end, but a second call without `begun` returns the same bytes.
std::string StandardInputAsFile(InputBytes* begun = nullptr);
// Returns the path at which an input can be read like a file: "-" is standard input.
std::string PathOfInput(const std::string& input);

}  // namespace tool

#endif
