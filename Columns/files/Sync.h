// Waits until written data are on the disk, so that they survive a crash of the system.
//
// Threads: any.

#ifndef COLUMNS_FILES_SYNC_H
#define COLUMNS_FILES_SYNC_H

#include <string>

namespace dstext {

// Syncs the contents of a file. Returns false, with errno, when they cannot be written.
bool SyncDescriptor(int descriptor);
// Syncs the names in a folder. Returns false, with errno, when they cannot be written. A folder that may not be read
// cannot be synced, which is no failure.
bool SyncFolder(const std::string& folder);

}  // namespace dstext

#endif
