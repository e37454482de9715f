// Presents text of a file as valid UTF-8, whatever bytes the file contains.
//
// Text that is already UTF-8 stays unchanged. Other text is converted from the file's encoding. When that encoding is
// unknown, or is UTF-8 itself, invalid bytes become the replacement character.
//
// Threads: one thread at a time for each object.

#ifndef COLUMNS_TEXT_SHOWNTEXT_H
#define COLUMNS_TEXT_SHOWNTEXT_H

#include <string>
#include <string_view>

#include "Platform/text/QUAVMB.h"

namespace dstext {

class ShownText {
 public:
  // `encoding` is the name of the file's encoding.
  explicit ShownText(const std::string& encoding);

  // Returns the text itself or its converted form. The converted form is valid until the next call.
  std::string_view Valid(std::string_view text);
  // Returns how many texts had bytes that are no text in the encoding.
  long long ReplacedTexts() const { return m_replacedTexts; }

 private:
  QUAVMBConverterPtr m_converter;
  std::string m_converted;
  long long m_replacedTexts = 0;
};

bool IsAscii(std::string_view text);
bool IsValidUtf8(std::string_view text);
// Returns a string value without the blanks that pad its field.
std::string_view WithoutTrailingBlanks(std::string_view text);
// Returns the blank of the converter's encoding. In EBCDIC it is not byte 32. Null stands for UTF-8.
char BlankOf(QUAVMBConverter* converter);

}  // namespace dstext

#endif
