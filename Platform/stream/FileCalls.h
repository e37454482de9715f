// The system calls that QUAV_File makes, in one table.
//
// For fault tests only: a test puts functions of its own in and makes the n-th call fail, transfer less or be
// interrupted. Whoever changes an entry puts it back.
//
// Threads: the table is changed while no other thread uses a file.

#ifndef PLATFORM_STREAM_FILECALLS_H
#define PLATFORM_STREAM_FILECALLS_H

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>

// Each as the system's own of that name: -1 and errno on failure, but fadvise, which answers an error number.
struct FileCalls {
  int (*open)(const char* name, int flags, mode_t permissions);
  int (*close)(int descriptor);
  int (*unlink)(const char* name);
  ssize_t (*pread)(int descriptor, void* buffer, std::size_t size, off_t offset);
  ssize_t (*pwrite)(int descriptor, const void* buffer, std::size_t size, off_t offset);
  ssize_t (*write)(int descriptor, const void* buffer, std::size_t size);
  int (*fstat)(int descriptor, struct stat* answer);
  int (*ftruncate)(int descriptor, off_t length);
  int (*fadvise)(int descriptor, off_t offset, off_t length, int advice);
};

// The table in use; the system's calls at first.
FileCalls& PresentFileCalls();

#endif
