// Converts an input to UTF-8.
//
// Text that is not valid in its encoding is a ToolError with its line: nothing is replaced in silence.
//
// Threads: one thread at a time.

#ifndef TOOLS_FILES_TEXTDECODER_H
#define TOOLS_FILES_TEXTDECODER_H

#include <memory>
#include <string>
#include <string_view>

#include "tools/files/InputFilter.h"

namespace tool {

// Returns "UTF-16LE", "UTF-16BE", "UTF-32LE" or "UTF-32BE" when the first bytes of a text show that, otherwise an empty
// text. With a mark, the mark decides. Without one, UTF-16 shows in the zero bytes of letters and separators.
std::string RecognisedEncoding(std::string_view firstBytes);

// Makes the decoder of an encoding by name: UTF-16 and UTF-32 (with LE, BE, or the order that the mark says, else that of
// this machine), and the code pages of QUAVMB.h. Returns null for UTF-8 and throws nothing then; `isKnown` becomes false
// when there is no such encoding.
std::unique_ptr<InputFilter> MakeTextDecoder(const std::string& encoding, ReadFunction source, const std::string& name,
                                             bool& isKnown);

}  // namespace tool

#endif
