// The header before enciphered bytes. It names the cipher and says how the password gives the key. Format:
// docs/encryption.md, "Header".
//
//    0   8   "QUAVCIPH"
//    8   1   version: 1
//    9   1   cipher: 1, AES-256-GCM in chunks of 64 KiB
//   10   1   key derivation: 1, scrypt
//   11   1   its cost: the base-2 logarithm of N
//   12   1   its block size r
//   13   1   its parallelism p
//   14   2   zero
//   16  32   its salt
//
// Every number is a single byte, so the header does not depend on the byte order of the machine.
//
// Threads: values.

#ifndef PLATFORM_CIPHER_CIPHERHEADER_H
#define PLATFORM_CIPHER_CIPHERHEADER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

// The cost of making a key: 128 * 2^logN * r bytes of memory, and p times that amount of work.
struct KeyCost {
  std::uint8_t logN = 17;
  std::uint8_t r = 8;
  std::uint8_t p = 1;

  constexpr std::uint64_t MemoryBytes() const { return (std::uint64_t{128} << logN) * r; }
  bool operator==(const KeyCost&) const = default;
};

// The cost of the keys of new files: at first 128 MiB and less than a second. Only tests change it, because they make
// many keys; a test that changes it restores it.
KeyCost& PresentKeyCost();

struct CipherHeader {
  static constexpr std::size_t kSize = 48;
  static constexpr std::size_t kSaltSize = 32;
  using Bytes = std::array<std::byte, kSize>;

  KeyCost cost;
  std::array<std::byte, kSaltSize> salt{};

  bool operator==(const CipherHeader&) const = default;
};

CipherHeader::Bytes ToBytes(const CipherHeader& header);
// Returns nothing when the bytes are no such header, have an unknown version, ask for more than a file may (256 MiB of
// memory, or four times the work of the default), or have a cost that scrypt does not define.
std::optional<CipherHeader> ParseCipherHeader(const CipherHeader::Bytes& bytes);

#endif
