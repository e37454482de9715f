// A stream on the plain contents of an encrypted system file, so that readers and writers do not deal with the cipher.
//
//   CryptFileStream stream;
//   stream.Open(file, password, "rb")     returns nonzero when the password is right
//   ...                                   as with any stream
//   stream.Close()                        enciphers a file that is open for writing; nothing else does
//
// If a stream is destroyed or opened again without Close, the file stays as it was; a file that was opened with the
// letter w stays empty.
//
// Copies share the file and its position. For modes and failures see CryptFile.h.
//
// Threads: one thread at a time for a stream and its copies.

#ifndef DATASRC_CRYPTFILESTREAM_H
#define DATASRC_CRYPTFILESTREAM_H

#include <memory>

#include "Platform/Export.h"
#include "Platform/stream/QUAV_FileStream.h"
#include "datasrc/CryptFile.h"
#include "datasrc/RefCountPtr.h"

class DATASRC_API CryptFileStream : public QUAV_FileStream {
 public:
  CryptFileStream();
  CryptFileStream(const CryptFileStream& other);
  CryptFileStream& operator=(const CryptFileStream&) = delete;
  ~CryptFileStream() override;

  // Contract: the order of these operations.
  void Clear() override;
  bool Good() override;
  unsigned long Read(void* buffer, unsigned long count) override;
  unsigned long Write(const void* buffer, unsigned long count) override;
  int Seek(long offset, SeekDirection direction) override;
  long Tell() const override;
  // Returns nonzero when the position is at the end, without a read beyond it; also when nothing is open.
  int EndOfFile() override;
  using QUAV_FileStream::Open;
  // Contract: always returns 0, with errno EINVAL. Only the form below opens an encrypted file.
  int Open(const char* name, const char* password, const char* mode) override;
  // The password is plain, not mangled. Returns nonzero on success; 0, with errno set, leaves the stream closed. That
  // includes the lack of a temp directory for the copy.
  int Open(const ExtNameStr& name, const ExtNameStr& password, const char* mode) override;
  void ClearAndReset() override;
  ExtNameStr GetNameStr() const override;
  // Enciphers the contents when the file is open for writing, and closes. Returns 0 on success, and when nothing is
  // open; -1, with errno set, when the file is not complete.
  int Close() override;
  int Close() const override;
  int Flush() override;
  // Contract: always returns null. GetNameStr returns the name.
  const char* Name() const override;
  // Contract: returns 8.
  unsigned long Footprint() const override;

  Window Peek(std::size_t wanted) override;
  void Skip(std::size_t count) override;
  // Returns the length of the plain contents in bytes; -1 when nothing is open.
  long Length() override;
  bool IsOpen() const override;
  int Error() const override;
  // Changes the mode as CryptFile::changeMode does. The password, plain or mangled, must be the one that the file was
  // opened with; if not, returns 0 with errno EBADMSG and changes nothing. Returns nonzero on success.
  int Reopen(const ExtNameStr& password, const char* mode) override;

  // The plain contents as a stream; Open must have succeeded before. A copy of it has its own position.
  QUAV_FileStream& Decrypted() const;

 private:
  // Null before an Open that succeeds. After Close it still holds the plain copy.
  std::unique_ptr<RefCountPtr<CryptFile>> m_file;
};

#endif
