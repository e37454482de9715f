// Reads the input as a file of zlib blocks: in sequence, and with a copy at several positions. All reads return the
// same bytes. Then appends to the file: the old bytes stay.
//
//   byte 0     bit 0: the numbers have the other byte order
//              bit 1: first correct the checksums of heads and tables, so that the reader accepts their numbers
//              bit 2: read ahead
//   the rest   the file, with blocks from its first byte on

#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "MemoryFile.h"
#include "Platform/stream/ZlibBlocks.h"
#include "Platform/stream/zcmpsFilestr.h"

namespace {

// The most inflated bytes that the target keeps in memory: a few bytes of input may inflate to 256 KiB.
constexpr std::size_t kMostPlain = 512UL * 1024;

void MendChecksum(std::string& file, std::size_t begin, std::size_t end, ByteOrder order) {
  const std::uint32_t checksum = BlockChecksum(std::as_bytes(std::span(file)).subspan(begin, end - begin));
  Store(std::as_writable_bytes(std::span(file)).data() + end, checksum, order);
}

void MendChecksums(std::string& file, ByteOrder order) {
  constexpr std::size_t kSum = sizeof(std::uint32_t);
  for (std::size_t at = 0; (at = file.find("ZBLK", at)) != file.npos && at + kBlockHeadSize <= file.size(); ++at)
    MendChecksum(file, at, at + kBlockHeadSize - kSum, order);
  for (std::size_t end = 0; (end = file.find("ZEND", end)) != file.npos; ++end) {
    const std::size_t begin = end < kSum ? file.npos : file.rfind("ZTAB", end - kSum);
    if (begin != file.npos && begin + kSum <= end) MendChecksum(file, begin, end - kSum, order);
  }
}

std::string Read(zcmpsFilestr& layer, long position, std::size_t size) {
  std::string bytes(size, '\0');
  if (layer.Seek(position, kSeekFromStart) != 0) std::abort();
  bytes.resize(layer.Read(bytes.data(), size));
  return bytes;
}

void Expect(bool isSo) {
  if (!isSo) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const bool reversed = (data[0] & 1) != 0;
  std::string bytes(data + 1, data + size);
  if ((data[0] & 2) != 0) MendChecksums(bytes, reversed ? ByteOrder::reversed : ByteOrder::native);
  const MemoryFile file(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  QUAV_FileStream stream;
  Expect(stream.Open(file.Path().c_str(), "rb") != 0);

  zcmpsFilestr layer(stream);
  layer.SetReadAhead((data[0] & 4) != 0);
  Expect(layer.readFilePosInfo(0, reversed));
  const std::string all = Read(layer, 0, kMostPlain);
  Expect(static_cast<long>(all.size()) <= layer.Length());
  const bool isAll = static_cast<long>(all.size()) == layer.Length();
  Expect(isAll || all.size() == kMostPlain || !layer.Good());
  zcmpsFilestr copy(layer);
  for (std::size_t i = 1; i <= 8; ++i) {
    const std::size_t at = all.size() * i / 9;
    Expect(Read(copy, static_cast<long>(at), 1'000) == all.substr(at, 1'000) || !copy.Good());
  }

  if (!isAll) return 0;
  layer.Clear();
  if (!layer.setFileToAppend(layer.Length(), reversed)) return 0;
  Expect(layer.Write("more", 4) == 4 && layer.Close() == 0);
  zcmpsFilestr again(stream);
  Expect(again.readFilePosInfo(0, reversed) && again.IsWhole());
  Expect(Read(again, 0, kMostPlain) == all + "more");
  return 0;
}
