// A buffered stream on a file.
//
// Each stream has a position and a buffer of its own, and so has each copy: copies of an open stream share the open
// file (reads and writes carry absolute positions), so several may read one file independently. The last of them closes
// it.
//
// Modes: a letter r (the file must be there), w (it is made anew) or a (it is made when missing; every write goes to
// its end), with "b" and "+" anywhere behind it ("rb+" and "r+b" are one). r, w and a alone open for reading or writing
// only, "+" for both. Any other letter is refused with EINVAL. A stream starts at position 0 in every mode; a write
// that goes to the end takes the position there. Reading and writing may alternate with nothing between them.
//
// Failures: an operation that fails sets errno to the reason and is remembered by Good and Error until Clear or Open.
// So is a read-ahead that fails behind bytes that did come. Nothing is locked by it: the next operation tries anew.
// What a failed write leaves in the buffer stays held, in its order, and goes out with the next flush that succeeds.
//
// A stream offers the bytes that it holds (Peek, Skip) beside the copying Read, so that a decoder can work in place.
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
  // The unread bytes that a stream holds in memory, from its position on.
  struct Window {
    const std::byte* begin = nullptr;
    const std::byte* end = nullptr;
    std::size_t Size() const { return static_cast<std::size_t>(end - begin); }
  };

  QUAV_FileStream();
  // With the flag, the files that the stream makes are enciphered on disk (FileMode::encrypt): they are for this stream
  // and its copies, and can only be opened anew, with a mode of the letter w.
  explicit QUAV_FileStream(bool encrypt);
  // Opens too; IsOpen tells whether that went well.
  QUAV_FileStream(const char* name, const char* mode, bool encrypt);
  // A copy of an open stream is open on the same file, at the same position, with a buffer of its own. What the other
  // still holds unwritten is written first; when that fails, both remember it.
  QUAV_FileStream(const QUAV_FileStream& other);
  QUAV_FileStream& operator=(const QUAV_FileStream&) = delete;
  // Writes what is still held, and closes. A failure is left to the copies that still share the file: their Good, Error
  // and Close tell it.
  ~QUAV_FileStream() override;

  // Contract: the order of these operations and of those of the base.
  void Clear() override;
  bool Good() override;
  unsigned long Read(void* buffer, unsigned long count) override;
  unsigned long Write(const void* buffer, unsigned long count) override;
  // 0 when the position was set; -1 (and the stream as it was) for a position below 0 or an unknown direction. A
  // position behind the end is allowed: a read there gives nothing, a write leaves a hole of zero bytes. Also -1, and
  // remembered as a failure, when nothing is open or what is held cannot be written; the position stays then too.
  int Seek(long offset, SeekDirection direction) override;
  long Tell() const override;
  // Nonzero once a Read or Peek has asked for more than the file has left; Seek, Clear and Open put it back. Standing
  // at the end is not enough.
  int EndOfFile() override;
  // Opening closes what was open. The answer is nonzero on success; 0, with errno set, when the file cannot be opened
  // or the mode is none. The password is ignored here: streams that need one derive from this one. When the closing
  // fails, the newly opened stream remembers that.
  virtual int Open(const char* name, const char* mode);
  virtual int Open(const ExtNameStr& name, const char* mode);
  virtual int Open(const char* name, const char* password, const char* mode);
  virtual int Open(const ExtNameStr& name, const ExtNameStr& password, const char* mode);
  // Forgets a failure and drops the bytes held for reading, so that the next read asks the file again.
  virtual void ClearAndReset();
  virtual ExtNameStr GetNameStr() const;
  // Writes what is held, and closes. 0 on success, also when nothing was open; the name stays known. -1 when that
  // failed or any write before it did and was not cleared: what is still unwritten is dropped.
  virtual int Close();
  virtual int Close() const;
  // Hands what is held for writing to the system. 0 on success; -1 when that failed or any write before it did and was
  // not cleared.
  virtual int Flush();
  // The generic form of the name; it lives as long as the stream and is not opened anew.
  virtual const char* Name() const;
  // Bytes of memory that the stream's buffer takes: none before the first use of it.
  virtual unsigned long Footprint() const;

  // The bytes from the position on, at least `wanted` of them unless the file ends (or fails) before: an empty window
  // is the end. `wanted` is at most kMaxPeek; 0 gives what is held already, be it nothing. The window is good until the
  // next operation on this stream.
  virtual Window Peek(std::size_t wanted);
  // Moves the position `count` bytes on, within the window that Peek gave last.
  virtual void Skip(std::size_t count);
  // The length of the file in bytes, what is held unwritten included; -1 when it cannot be told.
  virtual long Length();

  // Whether a file is open: both names tell the same.
  virtual bool IsOpen() const;
  bool DataReady() const;
  // The errno of the first operation that failed since the stream was opened or cleared, 0 for none.
  virtual int Error() const;
  // Closes, and opens the same file in another mode, with the answers of Open. The position is the start.
  virtual int Reopen(const ExtNameStr& password, const char* mode);

  // Asks that the file be read ahead of this stream while it is read in sequence. Choice: the kernel does it, on its
  // own threads, once it is told; files of less than a few buffers are left alone. The wish is one for all copies that
  // share the file, and ends with the Close of the stream that had it.
  void EnableMultiThreadReading();
  void DisableMultiThreadReading();

  static constexpr std::size_t kBufferSize = 256UL * 1024;
  static constexpr std::size_t kMaxPeek = 64UL * 1024;

 protected:
  // For streams that derive from this one and keep their bytes in a form, or a place, of their own.

  // The open file, for transfers past the buffer; null when none is open.
  const std::shared_ptr<QUAV_File>& GetFile() const;
  // Makes `position` what Tell answers, and drops what is held for reading. What is held for writing must be written.
  void SetPosition(long position);
  // Remembers a failure, as an errno, and sets errno: for what went wrong on the way past the buffer.
  void RememberFailure(int error) const;
  // Makes EndOfFile tell that more was asked for than there is.
  void RememberEnd();

 private:
  struct DATASRC_LOCAL Data;
  std::unique_ptr<Data> m_data;
};

#endif
