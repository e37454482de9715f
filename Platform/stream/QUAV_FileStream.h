// A buffered stream on a file.
//
// Each stream, and each copy of a stream, has its own position and its own buffer. Copies of an open stream share the
// open file (reads and writes carry absolute positions), so several of them can read one file independently. The last
// of them closes it.
//
// Modes: one of the letters r (the file must exist), w (makes the file, or empties it) or a (makes the file when it
// does not exist; every write goes to its end). "b" and "+" may follow in any place ("rb+" and "r+b" are the same).
// r, w and a alone open for reading or writing only, "+" for both. FileMode.h has two more letters, for temporary
// files; any other letter fails with EINVAL. A stream starts at position 0 in every mode; a write that goes to the
// end moves the position there. Reads and writes may alternate without anything between them.
//
// Failures: an operation that fails sets errno to the reason; Good and Error report it until Clear or Open. That
// includes a read that returned all its bytes and failed only while it read ahead. A failure blocks nothing: the next
// operation tries again. After a failed write the unwritten bytes stay in the buffer, in their order, and the next
// successful flush writes them.
//
// Besides the copying Read, a stream gives access to the bytes in its buffer (Peek, Skip), so that a decoder can work
// in place.
//
// Threads: one thread at a time for each stream; copies may be on different threads.

#ifndef PLATFORM_STREAM_QUAV_FILESTREAM_H
#define PLATFORM_STREAM_QUAV_FILESTREAM_H

#include <cstddef>
#include <memory>

#include "Platform/Export.h"
#include "Platform/stream/ExtNameStr.h"
#include "Platform/stream/QUAV_StrBaseIO.h"

class QUAV_File;

class DATASRC_API QUAV_FileStream : public QUAV_StrBaseIO {
 public:
  // The unread bytes in the stream's memory, from its position on.
  struct Window {
    const std::byte* begin = nullptr;
    const std::byte* end = nullptr;
    std::size_t Size() const { return static_cast<std::size_t>(end - begin); }
  };

  QUAV_FileStream();
  // With the flag, the files that the stream makes are enciphered on disk (FileMode::encrypt). Only this stream and
  // its copies can read them, and such a stream opens files only with a mode of the letter w.
  explicit QUAV_FileStream(bool encrypt);
  // Opens the file, too; IsOpen says whether that succeeded.
  QUAV_FileStream(const char* name, const char* mode, bool encrypt);
  // A copy of an open stream is open on the same file, at the same position, with its own buffer. The other stream's
  // unwritten bytes are written first; when that fails, both streams remember it.
  QUAV_FileStream(const QUAV_FileStream& other);
  QUAV_FileStream& operator=(const QUAV_FileStream&) = delete;
  // Writes the bytes that are still held, and closes. Copies that still share the file report a failure of this:
  // through Good, Error and Close.
  ~QUAV_FileStream() override;

  // Contract: the order of these operations and of those of the base.
  void Clear() override;
  bool Good() override;
  unsigned long Read(void* buffer, unsigned long count) override;
  unsigned long Write(const void* buffer, unsigned long count) override;
  // Returns 0 when the position was set. Returns -1, and changes nothing, for a position below 0 or an unknown
  // direction. A position after the end is allowed: a read there gives nothing, a write leaves a hole of zero bytes.
  // Also returns -1, and remembers the failure, when no file is open or the held bytes cannot be written; the
  // position stays in this case, too.
  int Seek(long offset, SeekDirection direction) override;
  long Tell() const override;
  // Returns nonzero after a Read or Peek has asked for more than the file has left; Seek, Clear and Open reset it.
  // Being at the end is not enough.
  int EndOfFile() override;
  // Closes the present file first. Returns nonzero on success; 0, with errno set, when the file cannot be opened or
  // the mode is invalid. The password is ignored here: streams that need one derive from this class. When the closing
  // fails, the newly opened stream remembers that failure.
  virtual int Open(const char* name, const char* mode);
  virtual int Open(const ExtNameStr& name, const char* mode);
  virtual int Open(const char* name, const char* password, const char* mode);
  virtual int Open(const ExtNameStr& name, const ExtNameStr& password, const char* mode);
  // Forgets a failure and drops the bytes held for reading, so that the next read reads from the file again.
  virtual void ClearAndReset();
  virtual ExtNameStr GetNameStr() const;
  // Writes the held bytes, and closes. Returns 0 on success, and when no file was open; the name is kept. Returns -1
  // when this fails, or when an earlier write failed and was not cleared: the bytes that are still unwritten are then
  // dropped.
  virtual int Close();
  virtual int Close() const;
  // Writes the held bytes to the system. Returns 0 on success; -1 when this fails, or when an earlier write failed
  // and was not cleared.
  virtual int Flush();
  // The generic form of the name. The pointer is valid until the stream is opened again or destroyed.
  virtual const char* Name() const;
  // The size of the stream's buffer in bytes: 0 before its first use.
  virtual unsigned long Footprint() const;

  // Returns the bytes from the position on: at least `wanted` of them, unless the file ends or a read fails before.
  // An empty window means the end. `wanted` is at most kMaxPeek; 0 returns what is already held, which may be
  // nothing. The window is valid until the next operation on this stream.
  virtual Window Peek(std::size_t wanted);
  // Moves the position forward by `count` bytes, within the window of the last Peek.
  virtual void Skip(std::size_t count);
  // The length of the file in bytes, unwritten bytes included; -1 when it is unknown.
  virtual long Length();

  // Both return whether a file is open.
  virtual bool IsOpen() const;
  bool DataReady() const;
  // The errno of the first operation that failed since the stream was opened or cleared; 0 for none.
  virtual int Error() const;
  // Closes, and opens the same file in another mode. Returns what Open returns. The position is the start.
  virtual int Reopen(const ExtNameStr& password, const char* mode);

  // Asks for reading ahead of this stream, for a reader in sequence. Choice: the kernel does that, on its own
  // threads, after one call; files of less than a few buffers get no such call. The request holds for all copies that
  // share the file, and ends when the stream that made it closes.
  void EnableMultiThreadReading();
  void DisableMultiThreadReading();

  static constexpr std::size_t kBufferSize = 256UL * 1024;
  static constexpr std::size_t kMaxPeek = 64UL * 1024;

 protected:
  // For streams that derive from this class and keep their bytes in another form or in another place.

  // The open file, for transfers that bypass the buffer; null when none is open.
  const std::shared_ptr<QUAV_File>& GetFile() const;
  // Sets the position that Tell returns, and drops the bytes held for reading. There must be no unwritten bytes.
  void SetPosition(long position);
  // Remembers a failure, given as an errno, and sets errno: for failures of transfers that bypass the buffer.
  void RememberFailure(int error) const;
  // Makes EndOfFile return nonzero: more was requested than there is.
  void RememberEnd();

 private:
  struct DATASRC_LOCAL Data;
  std::unique_ptr<Data> m_data;
};

#endif
