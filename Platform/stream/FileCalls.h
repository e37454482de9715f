// The system calls that QUAV_File makes, in one table.
//
// The table is for fault tests only: a test replaces entries and makes the n-th call fail, transfer less or be
// interrupted. A test that changes an entry restores it.
//
// Threads: change the table only while no other thread uses a file.

#ifndef PLATFORM_STREAM_FILECALLS_H
#define PLATFORM_STREAM_FILECALLS_H

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>

// Each entry behaves as the system call of that name: -1 and errno on failure, except fadvise, which returns an errno.
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

// Returns the table in use; at first it holds the system's calls.
FileCalls& PresentFileCalls();

#endif
