// A stream on the plain contents of an encrypted system file: its readers and writers know nothing of the cipher.
//
//   CryptFileStream stream;
//   stream.Open(file, password, "rb")     nonzero when the password was right
//   ...                                   as any stream
//   stream.Close()                        a file that is written is enciphered now, and only now
//
// A stream that goes without Close leaves the file as it was; one that was opened with the letter w leaves it empty.
//
// Copies share the file and its position. CryptFile.h tells the rest.
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
  // Nonzero as soon as the position is that of the end.
  int EndOfFile() override;
  using QUAV_FileStream::Open;
  // Contract: 0, always. Only the form below opens.
  int Open(const char* name, const char* password, const char* mode) override;
  // The password is plain, not mangled. Nonzero on success; 0, with errno set, leaves the stream unopened. (Also when
  // there is no temp directory for the copy.)
  int Open(const ExtNameStr& name, const ExtNameStr& password, const char* mode) override;
  void ClearAndReset() override;
  ExtNameStr GetNameStr() const override;
  // Enciphers what was written, and closes. 0 on success, also when nothing was open or is open any more; -1, with
  // errno set, when the file is not whole.
  int Close() override;
  int Close() const override;
  int Flush() override;
  // Contract: null, always. GetNameStr tells the name.
  const char* Name() const override;
  // Contract: 8.
  unsigned long Footprint() const override;

  Window Peek(std::size_t wanted) override;
  void Skip(std::size_t count) override;
  // Of the plain contents.
  long Length() override;
  bool IsOpen() const override;
  int Error() const override;
  // Changes the mode; the file is neither enciphered nor deciphered. The password, plain or mangled, must be the one
  // that the file was opened with; if not, returns 0 with errno EBADMSG, and the stream stays as it was.
  int Reopen(const ExtNameStr& password, const char* mode) override;

  // The plain contents as a stream, of an open stream. Who copies it reads by himself.
  QUAV_FileStream& Decrypted() const;

 private:
  // Null while nothing is open.
  std::unique_ptr<RefCountPtr<CryptFile>> m_file;
};

#endif
