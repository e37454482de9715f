// The work on one compressed file: its blocks, the two buffers, and the run that is under way. The protocol is
// described in zcompressedfilestr.h.
//
// Threads: comThreadFunc and decThreadFunc run on the task's thread, all other public functions on the caller's. The
// pool calls Begin, End and Forget between runs.

#ifndef DATASRC_SRC_STORAGE_ZCOMPRESSIONTASK_H
#define DATASRC_SRC_STORAGE_ZCOMPRESSIONTASK_H

#include <memory>
#include <optional>
#include <string>

#include "Platform/stream/QUAV_File.h"
#include "storage/ZBlockFile.h"
#include "storage/ZBufferPair.h"
#include "storage/ZReadRun.h"
#include "storage/ZWriteRun.h"
#include "storage/zcompressedfilestr.h"

class ZCompressionTask {
 public:
  using ReadRequest = ZCompressed_FileStream::ReadRequest;
  using WriteRequest = ZCompressed_FileStream::WriteRequest;
  using ReadResult = ZReadRun::Result;
  using Kept = ZReadRun::Kept;

  ZCompressionTask(const std::shared_ptr<QUAV_File>& file, std::string name);
  ZCompressionTask(const ZCompressionTask&) = delete;
  ZCompressionTask& operator=(const ZCompressionTask&) = delete;
  virtual ~ZCompressionTask();

  // ---- Between runs ----

  // Returns whether the table describes this open file.
  bool IsOf(const std::shared_ptr<QUAV_File>& file) const;
  // Returns whether the table describes a file of this name. If so, it describes this opening of the file from now
  // on.
  bool CheckFile(const std::shared_ptr<QUAV_File>& file, const std::string& name);
  // Returns whether no stream can use the file any more.
  bool IsUnused() const { return users == 0 && m_file.expired(); }
  // Prepares a run. A thread in read mode begins at `wanted`, a position in the table.
  void Begin(bool write, long wanted);
  void End();
  // Drops the buffers, the table and the file. Called when no stream can use them any more.
  void Forget();

  // ---- Caller ----

  bool IsWriting() const { return m_writing.has_value(); }
  // Returns the bytes written so far, whether they are in the file yet or not. There is nothing to read from this
  // position on.
  long Length() const { return m_length; }
  // Returns whether a block of the table holds the position.
  bool HasBlock(long wanted) const { return wanted < m_blocks.Table().TotalSize(); }
  // Returns the errno of the write that failed, 0 if none did.
  int Fault() const { return m_blocks.Fault(); }
  // Returns the errno of the read that ended the last run.
  int ReadFault() const { return m_readFault; }

  // For a run in write mode, and in read mode: what ZWriteRun and ZReadRun do.
  int Write(WriteRequest& request) { return m_writing->Write(request, m_length); }
  void FinishWriting() { m_writing->Finish(); }
  ReadResult Read(ReadRequest& request, Kept& kept) { return m_reading->Read(request, m_length, kept); }
  void StopReading() { m_reading->Stop(); }
  // Forgets a stream, whether it reads or not.
  void Leaves(const Kept& kept);

  // ---- Thread ----

  void* comThreadFunc();
  void* decThreadFunc();

  // For the pool.
  int index = -1;
  int age = 0;
  int users = 0;      // the number of streams that have the index
  bool runs = false;  // a thread works on it; the streams of its file read this too

 protected:
  // Tests break the protocol here, to see that it is asserted.
  ZBufferPair m_buffers;

 private:
  std::weak_ptr<QUAV_File> m_file;  // the file that the table describes
  std::string m_name;
  ZBlockFile m_blocks;
  std::optional<ZWriteRun> m_writing;  // during a run, one of the two
  std::optional<ZReadRun> m_reading;
  long m_length = 0;
  int m_readFault = 0;
};

#endif
