// The file of a sort stream, with a position of its own.
//
// Threads: one at a time (the file lock of dataPoolManager.h).

#ifndef DATASRC_SRC_STORAGE_SORTTEMP_IOWORKER_H
#define DATASRC_SRC_STORAGE_SORTTEMP_IOWORKER_H

#include <memory>

#include "Platform/stream/QUAV_File.h"

class IOWorker {
 public:
  // One more user of the file, until Close. `encrypt`: whether the file is enciphered on disk.
  IOWorker(const std::shared_ptr<QUAV_File>& file, bool encrypt);
  IOWorker(const IOWorker&) = delete;
  IOWorker& operator=(const IOWorker&) = delete;
  virtual ~IOWorker();

  // A block of `inSize` bytes into one of the file's form, and the reverse. `outSize` is the room on the way in, what
  // was made of it on the way out. Answer false when the form has no block for the bytes that fits the room. Here there
  // is no form, and nothing fits.
  virtual bool compressBlock(char* in, unsigned long inSize, char* out, unsigned long& outSize) const;
  virtual bool decompressBlock(char* in, unsigned long inSize, char* out, unsigned long& outSize) const;

  // Both at the position, which they move on. Answer 0 or an errno; a file that ends too soon is EIO.
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
