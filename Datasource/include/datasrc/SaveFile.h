// Saves a data source as a system file.
//
// Threads: one thread at a time for each object. SaveSystemFile runs on any thread while no other thread writes to the
// source. It makes an iterator over the source, so the source's rule for iterators applies.

#ifndef DATASRC_SAVEFILE_H
#define DATASRC_SAVEFILE_H

#include "Platform/Export.h"
#include "datasrc/QUAV_DataSource.h"
#include "datasrc/SystemFileDataSource.h"

// A system file that can only be written: MakeIterator asserts.
class DATASRC_API SaveFile : public SystemFileDataSource {
 public:
  ~SaveFile() override;
  QUAV_InputCaseIterator* MakeIterator(OBS* cells) const override;
};

// Writes the dictionary and the cases of the source to a new file, which replaces an existing one; `compress` is
// nonzero for byte codes. Throws what writing a SystemFileDataSource and reading the source throw; the file then
// keeps what was written. Asserts that the source makes an iterator.
DATASRC_API void SaveSystemFile(const char* fileName, const QUAV_DataSource& source, int compress);

#endif
