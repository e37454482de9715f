// Saving a data source as a system file.
//
// Threads: one thread at a time for each object; SaveSystemFile on any thread, over a source that nobody writes to.

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

// Writes the dictionary and the cases of the source into a new file of the name; `compress` is nonzero for byte codes.
// Fails as SystemFileDataSource's writing does; what the file has then is left.
DATASRC_API void SaveSystemFile(const char* fileName, const QUAV_DataSource& source, int compress);

#endif
