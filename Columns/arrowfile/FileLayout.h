// What stands around the messages of an Arrow file. Format: docs of Apache Arrow, "IPC File Format".
//
//   "ARROW1" and 2 zero bytes
//   messages     continuation (4 bytes), size of the metadata with their padding (4), metadata, body
//   end          continuation, 0
//   footer       metadata (a table Footer), their size (4), "ARROW1"
//
// Numbers are little-endian, as those of this machine. Each message and each buffer of a body begin at a multiple of 8
// bytes in the file; those written here begin at multiples of 64, as the format recommends.

#ifndef COLUMNS_ARROWFILE_FILELAYOUT_H
#define COLUMNS_ARROWFILE_FILELAYOUT_H

#include <cstdint>
#include <string_view>

namespace arrowfile {

inline constexpr std::string_view kMagic = "ARROW1";
inline constexpr std::string_view kFileStart{"ARROW1\0\0", 8};
inline constexpr std::int32_t kContinuation = -1;
inline constexpr std::int64_t kPrefixSize = 8;  // of a message, before its metadata
inline constexpr std::int64_t kLeastAlignment = 8;
inline constexpr std::int64_t kAlignment = 64;
inline constexpr std::int64_t kFooterEndSize = 10;  // after the footer: its size and the magic

// Returns the size with its padding.
constexpr std::int64_t Padded(std::int64_t size, std::int64_t alignment = kAlignment) {
  return (size + alignment - 1) / alignment * alignment;
}

}  // namespace arrowfile

#endif
