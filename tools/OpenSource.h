// Opens a file for a command.
//
// A file whose records would end the process is refused with error 1204 before the library sees it (RecordLookAhead). A
// system file is read by position, so what is no regular file is refused with error 1201. Everything else is as the
// library reports it, by QuavServerError.

#ifndef TOOLS_OPENSOURCE_H
#define TOOLS_OPENSOURCE_H

#include <memory>
#include <string>

#include "datasrc/QUAV_DataSource.h"
#include "datasrc/SystemFileDataSource.h"

namespace tool {

struct OpenedSource {
  std::unique_ptr<const QUAV_DataSource> data;  // dictionary and cases, as they are shown
  const SystemFileDataSource* file;             // the file behind them; lives as long as `data`
};

OpenedSource OpenSource(const std::string& file);

}  // namespace tool

#endif
