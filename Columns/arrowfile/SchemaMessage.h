// Writes an ArrowSchema into a message.
//
// Threads: any.

#ifndef COLUMNS_ARROWFILE_SCHEMAMESSAGE_H
#define COLUMNS_ARROWFILE_SCHEMAMESSAGE_H

#include "ArrowMessages_generated.h"
#include "datasrc/ArrowAbi.h"

namespace arrowfile {

// The schema is a struct whose children are the columns. The dictionary of column k has the id k. Throws ArrowFileError
// for other types than those of ExportArrowStream, and for metadata too large for a message.
flatbuffers::Offset<messages::Schema> BuildSchema(flatbuffers::FlatBufferBuilder& builder, const ArrowSchema& schema);

}  // namespace arrowfile

#endif
