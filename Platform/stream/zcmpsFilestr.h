// A stream whose bytes stand in the file as zlib blocks. Format: docs/system-file.md, "Zlib blocks".
//
// Its positions are those of the bytes as they were before they were compressed, counted as if they stood in the file
// from row 0 on: its user knows nothing of blocks. What lies in front of row 0 is not the layer's.
//
//   reading     zcmpsFilestr(stream), readFilePosInfo; then Seek, Read, Peek
//   writing     zcmpsFilestr(stream), setMultiThread, setRow0Pos; then Write, Close
//   appending   as for reading; then setFileToAppend, Write, Close
//
// A stream does one of both: reading behind setFileToAppend, or writing before it, is a failure (EBADF).
//
// Reading: a Seek costs one block. A file without the table at its end (its writer died, its disk was full) is read as
// far as its whole blocks go; behind them every read is a failure, ENODATA. A block in which a byte is wrong gives
// nothing, and is the failure EBADMSG. Blocks are inflated ahead of a sequential reader.
//
// Writing: nothing in front of the old end of the file is written over, and the table comes last. A writer that dies
// leaves what was there before it. A failure is remembered and no table is written.
//
// Ownership: the layer has a copy of the stream it is built over, and so shares its open file.
//
// Threads: one thread at a time; copies may be on different threads. The threads of its own end with it, or with Close.

#ifndef PLATFORM_STREAM_ZCMPSFILESTR_H
#define PLATFORM_STREAM_ZCMPSFILESTR_H

#include <cstdint>
#include <memory>

#include "Platform/stream/QUAV_FileStream.h"

class zcmpsFilestr : public QUAV_FileStream {
 public:
  // What a file that was written in one go has in each block but the last: a read at random costs one of them.
  static constexpr long kBlockSize = 128L * 1024;

  // Over a stream that is open, or that was: then it is opened again by its name.
  explicit zcmpsFilestr(const QUAV_FileStream& stream);
  // A copy reads by itself, at the same position. Of a stream that writes, the copy can do nothing.
  zcmpsFilestr(const zcmpsFilestr& other);
  zcmpsFilestr& operator=(const zcmpsFilestr&) = delete;
  // Closes.
  ~zcmpsFilestr() override;

  // ---- What it is to do; each answers whether that went well, and sets errno where it did not ----

  // For writing: the first block begins at this byte of the file, and all that stands there or behind goes. Numbers are
  // in the byte order of this machine.
  bool setRow0Pos(long position);
  // Whether blocks are packed on threads of the stream's own; 0: not so, which it is at first. Before the first Write.
  void setMultiThread(int wanted);
  // For reading: finds the blocks, the first of which begins at the byte `row0`. A file that ends there, or whose end
  // is missing, is no failure. `reversed`: its numbers are in the order that this machine does not have.
  bool readFilePosInfo(long row0, bool reversed);
  // Behind readFilePosInfo: what is written next goes to this position, which is not behind the end; what the stream
  // has behind it goes with the first Write. Without one the file stays as it is.
  bool setFileToAppend(long position, bool reversed);

  // Whether the file that is read has its end. Without it the stream may have less than was written, or the part of
  // something that was never finished.
  bool IsWhole() const;
  // Whether blocks are inflated ahead; at first they are.
  void SetReadAhead(bool wanted);

  // ---- The stream ----

  void Clear() override;
  bool Good() override;
  unsigned long Read(void* buffer, unsigned long count) override;
  unsigned long Write(const void* buffer, unsigned long count) override;
  // While writing only to where the stream is.
  int Seek(long offset, SeekDirection direction) override;
  long Tell() const override;
  int EndOfFile() override;
  // These open the file beneath; what the stream is to do with it is to be said anew.
  int Open(const char* name, const char* mode) override;
  int Open(const ExtNameStr& name, const char* mode) override;
  int Open(const char* name, const char* password, const char* mode) override;
  int Open(const ExtNameStr& name, const ExtNameStr& password, const char* mode) override;
  void ClearAndReset() override;
  ExtNameStr GetNameStr() const override;
  // Writes what is held and the table, and closes. 0 on success, also when nothing was open.
  int Close() override;
  int Close() const override;
  // Ends the block in hand: it costs room in the file, so it is for the end of the data.
  int Flush() override;
  const char* Name() const override;
  unsigned long Footprint() const override;
  Window Peek(std::size_t wanted) override;
  void Skip(std::size_t count) override;
  // The position of the end.
  long Length() override;
  bool IsOpen() const override;
  int Error() const override;

 private:
  struct Data;
  std::unique_ptr<Data> m_data;
};

#endif
