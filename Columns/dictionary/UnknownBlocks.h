// The extension blocks of a data set whose meaning the library does not know, as text: a JSON list of
//
//   {"type": 77, "element_size": 4, "data": "00c0ffee"}      the bytes of all elements in hexadecimal digits
//
// The documents, which are a block too, are not among them.
//
// Threads: any number at once, each with its own source.

#ifndef COLUMNS_DICTIONARY_UNKNOWNBLOCKS_H
#define COLUMNS_DICTIONARY_UNKNOWNBLOCKS_H

#include <string>
#include <string_view>

#include "datasrc/QUAV_DataSource.h"

namespace dstext {

// The type of the block of the documents.
inline constexpr int kDocumentType = 0;

// Returns an empty text for a source without such blocks.
std::string UnknownBlocksJson(const QUAV_DataSource& source);
// Adds the blocks to the source. Throws DictionaryJsonError when the text is not such a list.
void AddUnknownBlocks(QUAV_DataSource& source, std::string_view json);

}  // namespace dstext

#endif
