// Fits a dictionary into a system file: converts the text that views leave as it is (CarriedText.h), and cuts text that
// is too long for its place between characters. The library would cut it inside a character, or not keep it.
//
//   text                                                    a file has room for
//   label of the data set                                   64 bytes
//   label of a value of a number or a string up to 8 bytes  255 bytes
//   value of a string that has a label                      its width, padded with blanks of the encoding
//   name of an attribute                                    64 bytes; one that is not legal, or taken, is omitted
//   line of a document                                      80 bytes; a longer one becomes several lines
//   missing value of a string                               8 bytes; the views have omitted longer ones
//   key of the sort index                                   up to the first white space of all of them
//   date variables of trends                                none, if one has no type
//
// The present encoding is that of the file.
//
// Threads: one thread at a time.

#ifndef TOOLS_DICTIONARY_FITTEDDICTIONARY_H
#define TOOLS_DICTIONARY_FITTEDDICTIONARY_H

#include <string>

#include "datasrc/QUAV_DataSource.h"
#include "datasrc/SystemFileDataSource.h"
#include "tools/messages/Losses.h"

namespace tool {

// The encodings of text in a dictionary.
struct TextEncodings {
  std::string carried;  // of the text that views leave as it is
  std::string file;     // of the file to be made
};

// Fits `dictionary`, which is a copy of `source`'s, and counts what is lost. `path` is the file for messages. Throws
// ToolError when a key of the sort index would be read as several.
Losses FitDictionary(QUAV_DataSource& dictionary, const QUAV_DataSource& source, const TextEncodings& encodings,
                     const std::string& path);

// Counts the missing values that a view lost, because they do not fit into their 8 bytes in the view's encoding.
void CountMissingValues(const QUAV_DataSource& source, const std::string& encoding, Losses& losses);

// Counts the members of sets that a reader of the file will not find: the file has their short names in lower case, and
// some characters do not come back from lower case. To be called after CommitDictionary.
void CountLostMembers(const SystemFileDataSource& file, Losses& losses);

}  // namespace tool

#endif
