// Mends the text of very long strings, those wider than 255 bytes, before it is written. The library divides such a
// string between characters, and loses the rest of a part at bytes that form no character.
//
// Such bytes become the replacement character, or what the encoding has for it. A text that no longer fits its string
// loses its last characters.
//
// Threads: one thread at a time for each object.

#ifndef TOOLS_CASES_LONGTEXTMENDER_H
#define TOOLS_CASES_LONGTEXTMENDER_H

#include <string>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "datasrc/QUAV_DataSource.h"

namespace tool {

class LongTextMender {
 public:
  // The cases have the layout of the dictionary, and their text is in the encoding.
  LongTextMender(const QUAV_DataSource& dictionary, const std::string& encoding);

  // Returns the case, or a mended copy that is valid until the next call.
  const OBS* Mended(const OBS* cells);
  // Warns about `file` when values had to be mended.
  void Report(const std::string& file) const;

 private:
  struct Field {
    std::size_t cell;
    std::size_t width;  // in bytes
  };

  void Mend(const Field& field);

  std::string m_encoding;
  QUAVMBConverterPtr m_converter;
  bool m_keepsAscii = true;
  char m_blank = ' ';  // in the encoding
  std::vector<Field> m_fields;
  std::vector<OBS> m_case;
  std::string m_utf8;
  long long m_mendedValues = 0;
};

}  // namespace tool

#endif
