// Walks through cases in zlib blocks, of which some may be damaged.
//
// First all blocks are read in their order. If that meets a fault, each block is tested by itself. The damaged ones divide
// the good ones into runs: cases are taken from the first run and, where their places are certain, from the last one.
//
// Threads: one thread at a time; threads of its own inflate blocks.

#ifndef DATASRC_SRC_SYSTEMFILE_ZLIBVERIFIER_H
#define DATASRC_SRC_SYSTEMFILE_ZLIBVERIFIER_H

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "Platform/stream/QUAV_File.h"
#include "Platform/stream/ZlibBlockSearch.h"
#include "systemfile/CaseVerifier.h"
#include "systemfile/TailFinder.h"

class ZlibVerifier {
 public:
  // The first block begins at the byte `row0` of the file.
  ZlibVerifier(std::shared_ptr<const QUAV_File> file, long row0, ByteOrder order, int threads, VerifiedFile& result);

  // Adds the faults, the readable cases, and the missing ones. Needs the declared number of cases in the result.
  void Verify(CaseTaker& cases);

 private:
  using Blocks = std::shared_ptr<const ZlibBlocksFound>;

  void VerifyBlocks(CaseTaker& cases);
  std::vector<bool> TestBlocks(long long row);
  Blocks BlocksFrom(std::size_t first) const;
  void TakeTail(const Blocks& run, CaseTaker& cases);
  void AddTableFault();
  void AddFault(std::int64_t byte, const std::string& text, long long row);
  std::int64_t InFile(long byte) const;

  std::shared_ptr<const QUAV_File> m_file;
  long m_row0;
  ByteOrder m_order;
  int m_threads;
  VerifiedFile& m_result;
  Blocks m_found;
};

#endif
