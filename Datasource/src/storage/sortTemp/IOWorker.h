// The file of a sort stream, with its own position.
//
// Threads: one at a time (under the file lock of dataPoolManager.h).

#ifndef DATASRC_SRC_STORAGE_SORTTEMP_IOWORKER_H
#define DATASRC_SRC_STORAGE_SORTTEMP_IOWORKER_H

#include <memory>

#include "Platform/stream/QUAV_File.h"

class IOWorker {
 public:
  // Becomes a user of the file, until Close. `encrypt`: whether the file is encrypted on disk.
  IOWorker(const std::shared_ptr<QUAV_File>& file, bool encrypt);
  IOWorker(const IOWorker&) = delete;
  IOWorker& operator=(const IOWorker&) = delete;
  virtual ~IOWorker();

  // Convert a block of `inSize` bytes into the file's form, and back. `outSize` is the room at first, and the size of
  // the result afterwards. Return false when the form has no block for the bytes that fits the room. This class has
  // no form: it always returns false.
  virtual bool compressBlock(char* in, unsigned long inSize, char* out, unsigned long& outSize) const;
  virtual bool decompressBlock(char* in, unsigned long inSize, char* out, unsigned long& outSize) const;

  // Both transfer at the position and advance it. They return 0 or an errno: EIO for a file that ends too soon.
  int Read(char* buffer, unsigned long count);
  int Write(const char* buffer, unsigned long count);
  void Seek(long position) { m_position = position; }
  void Close();

  bool Encrypt() const { return m_encrypt; }

 private:
  std::shared_ptr<QUAV_File> m_file;  // null: closed
  const bool m_encrypt;
  long m_position = 0;
};

#endif
