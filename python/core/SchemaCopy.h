// Copies of Arrow schemas, which may be changed and given away.

#ifndef PYTHON_CORE_SCHEMACOPY_H
#define PYTHON_CORE_SCHEMACOPY_H

#include <string>
#include <utility>
#include <vector>

#include "Columns/arrow/ArrowData.h"
#include "datasrc/ArrowAbi.h"

namespace core {

using Metadata = std::vector<std::pair<std::string, std::string>>;

Metadata MetadataOf(const ArrowSchema& schema);
SchemaData CopyOf(const ArrowSchema& schema);

}  // namespace core

#endif
