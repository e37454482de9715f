#include "Columns/splits/FileMark.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <span>
#include <system_error>
#include <vector>

#include "Platform/messages/MessageNumbers.h"
#include "Platform/messages/ThrowError.h"
#include "Platform/stream/BlockCodec.h"
#include "Platform/stream/StreamBeneath.h"

namespace {

constexpr std::int64_t kPiece = 64 * 1024;
// An append may only fill up the last group of case codes, or replace the table of zlib blocks.
constexpr std::int64_t kTail = 4096;

// Adds the bytes of the file from `begin` on.
class FileSum {
 public:
  explicit FileSum(const QUAV_File& file) : m_file(file), m_bytes(kPiece) {}

  // Returns false, with errno set, when they cannot be read.
  bool Add(std::int64_t begin, std::int64_t end) {
    while (begin < end) {
      const auto size = static_cast<std::size_t>(std::min(kPiece, end - begin));
      const QUAV_File::Transfer transfer = m_file.ReadAt(m_bytes.data(), size, begin);
      if (transfer.bytes != size) {
        errno = transfer.error != 0 ? transfer.error : EIO;
        return false;
      }
      m_sum = BlockChecksum(std::span(m_bytes).first(size), m_sum);
      begin += kPiece;
    }
    return true;
  }
  std::uint32_t Sum() const { return m_sum; }

 private:
  const QUAV_File& m_file;
  std::vector<std::byte> m_bytes;
  std::uint32_t m_sum = 0;
};

}  // namespace

std::optional<FileMark> MarkOf(const ExtNameStr& file) {
  const std::filesystem::path path(file.GetGeneric());
  std::error_code failure;
  if (!std::filesystem::is_regular_file(path, failure)) return std::nullopt;
  FileMark mark;
  mark.size = static_cast<std::int64_t>(std::filesystem::file_size(path, failure));
  if (failure) return std::nullopt;
  const auto changed = std::filesystem::last_write_time(path, failure);
  if (failure) return std::nullopt;
  const auto since1970 = std::filesystem::file_time_type::clock::to_sys(changed).time_since_epoch();
  mark.changedAt = std::chrono::duration_cast<std::chrono::nanoseconds>(since1970).count();
  return mark;
}

std::uint32_t ChecksumOf(const ExtNameStr& file, std::int64_t headSize) {
  QUAV_FileStream stream;
  if (stream.Open(file, "rb") != 0) {
    const StreamBeneath beneath(stream);
    FileSum sum(*beneath.GetFile());
    const std::int64_t size = beneath.GetFile()->Length();
    if (size >= 0 && sum.Add(0, std::min(headSize, size)) && sum.Add(std::max<std::int64_t>(size - kTail, 0), size))
      return sum.Sum();
  }
  ThrowError::StringSys(kDatasrcCatalog, kCannotOpen, file.GetGeneric().c_str());
}
