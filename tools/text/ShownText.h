// Text of a file as valid UTF-8, whatever the file holds.
//
// Text that is UTF-8 already is shown as it is. Other text is taken for the file's own encoding, and where that is not
// known, or is UTF-8 itself, what is no character becomes the replacement character.
//
// Threads: one thread at a time for each object.

#ifndef TOOLS_TEXT_SHOWNTEXT_H
#define TOOLS_TEXT_SHOWNTEXT_H

#include <string>
#include <string_view>

#include "Platform/text/QUAVMB.h"

namespace tool {

class ShownText {
 public:
  // `encoding` is the name of the file's encoding.
  explicit ShownText(const std::string& encoding);

  // The text, or its converted form, which lasts until the next call.
  std::string_view Valid(std::string_view text);

 private:
  QUAVMBConverterPtr m_converter;
  std::string m_converted;
};

bool IsAscii(std::string_view text);
bool IsValidUtf8(std::string_view text);
// A string value without the blanks that fill its field.
std::string_view WithoutTrailingBlanks(std::string_view text);

}  // namespace tool

#endif
