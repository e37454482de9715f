// The text of a token. Fields are separated by colons:
//
//   datasrc-split-1     the form and its version
//   path                in UTF-8; each byte that is no letter, digit, "/", ".", "_" or "-" as % and two hex digits
//   size                of the file, in bytes
//   time                of its last change, in nanoseconds from 1970
//   checksum            of the dictionary and the last bytes, 8 hex digits
//   stored, shown       whether text is as it is stored, or in the process's encoding
//   first row
//   rows
//   position            of the first row (CasePlace)
//   last, more          whether it is the last split
//   encoding            of the file's text, by its name, escaped as the path: what the file states, or what it was opened as
//   CRC-32              of all before it and its colon, 8 hex digits
//
// Numbers are decimal, without zeros before them; hex digits are lower-case. Each token has only one form.
//
// Threads: a value.

#ifndef COLUMNS_SPLITS_SPLITTOKEN_H
#define COLUMNS_SPLITS_SPLITTOKEN_H

#include <cstdint>
#include <string>
#include <string_view>

#include "Columns/splits/FileMark.h"

struct SplitToken {
  std::string path;  // in UTF-8, not empty, without a NUL
  FileMark mark;
  std::uint32_t checksum = 0;
  bool isAsStored = false;
  long long firstRow = 0;
  long long rows = 0;
  long position = 0;
  bool isLast = false;
  std::string encoding;  // not empty

  std::string Text() const;
  // Throws SplitError when the text is no token.
  static SplitToken Parse(std::string_view text);
};

#endif
