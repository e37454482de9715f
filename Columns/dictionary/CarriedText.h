// Converts the text that the encoding views of the library leave as it is: documents, the formatting of the data
// editor, and the keys of the sort index. It is in the encoding of the file that it was read from.
//
// The line that ends a document is recognised by its first bytes, which are ASCII in every encoding. Where the encoding
// has other bytes for ASCII characters, such a line is ASCII as a whole and is not converted.
//
// Threads: one thread at a time for each object.

#ifndef COLUMNS_DICTIONARY_CARRIEDTEXT_H
#define COLUMNS_DICTIONARY_CARRIEDTEXT_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "datasrc/SortIndexInfo.h"

namespace dstext {

class CarriedText {
 public:
  // Nothing is converted from or to an encoding that is not known.
  CarriedText(const std::string& from, const std::string& to);

  // Returns whether the text has to be converted.
  bool IsNeeded() const { return m_isNeeded; }
  // Converts in place, and returns whether anything was not converted exactly.
  bool Convert(std::string& text);
  // Converts a line of a document, and removes the blanks at its end. A line that ends no document still ends none.
  bool ConvertLine(std::string& line);
  // Converts a key of the sort index piece by piece: the pieces of numbers have no encoding.
  bool ConvertKey(std::string& key, const std::vector<FileSort::SortKey>& keys);

 private:
  QUAVMBConverterPtr m_from;  // null for UTF-8
  QUAVMBConverterPtr m_to;    // null for UTF-8
  bool m_isNeeded = false;
  bool m_keepsAscii = true;
};

// Returns whether the line ends a document.
bool IsDateLine(std::string_view line);
// Returns the pieces of a key of the sort index, one for each sort key; nothing when the lengths do not match. The last
// piece may be without its blanks.
std::optional<std::vector<std::string>> PiecesOf(const std::string& key, const std::vector<FileSort::SortKey>& keys);

}  // namespace dstext

#endif
