// The two names of each variable in a file, and how a short one is formed.
//
// Threads: one writer, or several readers.

#ifndef DATASRC_SRC_SYSTEMFILE_SYSTEMFILENAMES_H
#define DATASRC_SRC_SYSTEMFILE_SYSTEMFILENAMES_H

#include "systemfile/Rename.h"

struct SystemFileNames {
  // After reading: (short, long), in the order of the file. While writing: (long, short), in the order of the
  // columns; sorted once the dictionary is written.
  Renames renames;
  bool hasLongNames = false;

  // ---- Short names ----

  // Removes points and underlines at the end. Returns whether there were any.
  static bool checkTerminalChar(char* text);
  // Copies the first `len` bytes of the text, but no part of a character, into `dst` of len + 1 bytes. Returns the
  // number of bytes.
  static int strTrunc(char* dst, const char* src, int len);
  // Writes the beginning of the name, "_" and the letters of n, at most `maxLen` bytes, into `out` of maxLen + 1
  // bytes. Returns 0; 1504 when too little of the name would remain.
  static int addNameSuffix(char* out, const char* name, int n, int maxLen);
};

#endif
