// Rows that wait in a temp file until the widths of all texts are known.
//
//   spool.Add(rows) ...        then once: spool.Rewind(), and spool.Next(rows) until it returns false
//
// Threads: one thread at a time.

#ifndef COLUMNS_ARROWIN_ROWSPOOL_H
#define COLUMNS_ARROWIN_ROWSPOOL_H

#include <cstddef>
#include <memory>
#include <vector>

#include "Columns/arrowin/ArrivedRows.h"
#include "datasrc/QUAV_TempFile.h"

namespace arrowin {

class RowSpool {
 public:
  // Throws QuavServerError when the temp file cannot be made. `isSecret` enciphers it.
  explicit RowSpool(bool isSecret);

  // Throws QuavServerError when the disk is full.
  void Add(const ArrivedRows& rows);
  void Rewind();
  // Reads the rows that were added next, into columns that are as before. Returns false at the end.
  bool Next(ArrivedRows& rows);

 private:
  void Write(const void* bytes, std::size_t size);
  void Read(void* bytes, std::size_t size);
  template <class Container>
  void WriteAll(const Container& values);
  template <class Container>
  void ReadAll(Container& values);

  std::unique_ptr<QUAV_TempFile> m_file;
  long long m_left = 0;  // how often rows were added and not read
};

}  // namespace arrowin

#endif
