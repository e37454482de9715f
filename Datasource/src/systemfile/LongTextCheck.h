// Looks for bytes that are no text in the very long strings of cases, those wider than 255 bytes.
//
// Only there they matter to a file: its writer divides such a string between characters, and may lose bytes that form
// none. All other values go from file to file as they are.
//
// Threads: one thread at a time.

#ifndef DATASRC_SRC_SYSTEMFILE_LONGTEXTCHECK_H
#define DATASRC_SRC_SYSTEMFILE_LONGTEXTCHECK_H

#include <cstddef>
#include <string>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "datasrc/Obs.h"
#include "datasrc/QUAV_DataSource.h"

class LongTextCheck {
 public:
  // The cases have the layout of the dictionary, and their text is in the encoding.
  LongTextCheck(const QUAV_DataSource& dictionary, const std::string& encoding);

  // Returns whether the dictionary has very long strings.
  bool IsNeeded() const { return !m_fields.empty(); }
  void Look(const OBS* cells, long long row);

  // How many values have such bytes, and the row of the first one; -1 for none.
  long long Count() const { return m_count; }
  long long FirstRow() const { return m_firstRow; }

 private:
  struct Field {
    std::size_t cell;
    std::size_t width;  // in bytes
  };

  QUAVMBConverterPtr m_converter;
  std::vector<Field> m_fields;
  std::string m_utf8;
  long long m_count = 0;
  long long m_firstRow = -1;
};

#endif
