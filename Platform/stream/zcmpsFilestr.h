// A stream whose bytes are in the file as zlib blocks. Format: docs/system-file.md, "Zlib blocks".
//
// Its positions are those of the uncompressed bytes, counted as if these were in the file from row 0 on: the user of
// the stream does not see the blocks. The stream does not touch the bytes before row 0.
//
//   reading     zcmpsFilestr(stream), readFilePosInfo; then Seek, Read, Peek
//   writing     zcmpsFilestr(stream), setMultiThread, setRow0Pos; then Write, Close
//   appending   as for reading; then setFileToAppend, Write, Close
//
// A stream either reads or writes: reading after setFileToAppend, or writing before it, fails with EBADF.
//
// Reading: a Seek costs one block. A file without the table at its end (its writer died, its disk was full) is
// readable up to its last whole block; a read after that fails with ENODATA. A block in which a byte is wrong gives
// nothing, and the read fails with EBADMSG. Blocks are inflated ahead of a sequential reader.
//
// Writing: nothing before the old end of the file is overwritten, and the table comes last. If the writer dies, the
// old contents are still there. A failure is remembered, and no table is written.
//
// Ownership: the stream has a copy of the stream under it, and so shares its open file.
//
// Threads: one thread at a time; copies may be on different threads. The stream's own threads end with it, or with
// Close.

#ifndef PLATFORM_STREAM_ZCMPSFILESTR_H
#define PLATFORM_STREAM_ZCMPSFILESTR_H

#include <cstdint>
#include <memory>

#include "Platform/stream/QUAV_FileStream.h"

class zcmpsFilestr : public QUAV_FileStream {
 public:
  // The plain size of all blocks but the last, in a file that was written at once: a random read costs one of them.
  static constexpr long kBlockSize = 128L * 1024;

  // Takes a stream that is open or was open; in the second case it is opened again by its name.
  explicit zcmpsFilestr(const QUAV_FileStream& stream);
  // A copy reads independently, from the same position. A copy of a stream that writes cannot do anything.
  zcmpsFilestr(const zcmpsFilestr& other);
  zcmpsFilestr& operator=(const zcmpsFilestr&) = delete;
  // Closes the stream.
  ~zcmpsFilestr() override;

  // ---- Modes: each returns whether it succeeded, and sets errno if not ----

  // For writing: the first block begins at this byte of the file, and everything from there on is cut off. Numbers
  // are in the byte order of this machine.
  bool setRow0Pos(long position);
  // Nonzero: the stream's own threads deflate the blocks. The default is 0. Call it before setRow0Pos or
  // setFileToAppend.
  void setMultiThread(int wanted);
  // For reading: finds the blocks, the first of which begins at the byte `row0`. A file that ends there, or whose end
  // is missing, is no failure. `reversed`: the numbers in the file are in reversed byte order.
  bool readFilePosInfo(long row0, bool reversed);
  // Call it after readFilePosInfo. The next Write goes to this position, which is not after the end; the first Write
  // removes the rest of the stream. Without a Write the file stays as it is. When the file cannot be opened for
  // writing, the stream is closed: readFilePosInfo opens it again.
  bool setFileToAppend(long position, bool reversed);

  // Whether the file being read has its end. Without it the stream may be shorter than what was written, or end
  // inside something that was never finished.
  bool IsWhole() const;
  // For reading: returns the position of the first block that begins at `position` or after it; without one, that of
  // the end.
  long NextBlock(long position) const;
  // Whether to inflate blocks ahead, on a thread for each core; the default is true.
  void SetReadAhead(bool wanted);
  // Sets how many threads inflate blocks ahead, at most 16; 0 for none.
  void SetReadAheadThreads(int threads);

  // ---- The stream ----

  void Clear() override;
  bool Good() override;
  unsigned long Read(void* buffer, unsigned long count) override;
  unsigned long Write(const void* buffer, unsigned long count) override;
  // While writing, only the present position is allowed.
  int Seek(long offset, SeekDirection direction) override;
  long Tell() const override;
  int EndOfFile() override;
  // These open the file; the mode of the stream must be set again.
  int Open(const char* name, const char* mode) override;
  int Open(const ExtNameStr& name, const char* mode) override;
  int Open(const char* name, const char* password, const char* mode) override;
  int Open(const ExtNameStr& name, const ExtNameStr& password, const char* mode) override;
  void ClearAndReset() override;
  ExtNameStr GetNameStr() const override;
  // Writes the held bytes and the table, and closes. Returns 0 on success, and when no file was open.
  int Close() override;
  int Close() const override;
  // Ends the block in hand, which costs room in the file. So use it only at the end of the data.
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
