#include "Platform/cipher/CipherHeader.h"

#include <algorithm>

namespace {

constexpr std::array<char, 8> kMagic = {'Q', 'U', 'A', 'V', 'C', 'I', 'P', 'H'};
constexpr std::byte kVersion{1};
constexpr std::byte kAesGcmChunks{1};
constexpr std::byte kScrypt{1};

constexpr std::size_t kVersionOffset = 8;
constexpr std::size_t kCipherOffset = 9;
constexpr std::size_t kDerivationOffset = 10;
constexpr std::size_t kCostOffset = 11;
constexpr std::size_t kReservedOffset = 14;
constexpr std::size_t kSaltOffset = 16;

constexpr std::uint8_t kMostLogN = 20;
constexpr std::uint64_t kMostMemory = std::uint64_t{256} << 20;
constexpr std::uint64_t kMostWork = 4 * KeyCost{}.MemoryBytes();

// scrypt defines only an N below 2^(16 r): libcrypto refuses any other.
bool IsDefined(const KeyCost& cost) { return cost.logN < 16 * cost.r; }

bool IsAffordable(const KeyCost& cost) {
  return cost.logN >= 1 && cost.logN <= kMostLogN && cost.r >= 1 && cost.p >= 1 && cost.MemoryBytes() <= kMostMemory &&
         cost.MemoryBytes() * cost.p <= kMostWork;
}

// Returns the header's bytes with cost and salt set to zero.
CipherHeader::Bytes FixedBytes() {
  CipherHeader::Bytes bytes{};
  std::ranges::transform(kMagic, bytes.begin(), [](char letter) { return static_cast<std::byte>(letter); });
  bytes[kVersionOffset] = kVersion;
  bytes[kCipherOffset] = kAesGcmChunks;
  bytes[kDerivationOffset] = kScrypt;
  return bytes;
}

}  // namespace

KeyCost& PresentKeyCost() {
  static KeyCost present;
  return present;
}

CipherHeader::Bytes ToBytes(const CipherHeader& header) {
  CipherHeader::Bytes bytes = FixedBytes();
  bytes[kCostOffset] = std::byte{header.cost.logN};
  bytes[kCostOffset + 1] = std::byte{header.cost.r};
  bytes[kCostOffset + 2] = std::byte{header.cost.p};
  std::ranges::copy(header.salt, bytes.begin() + kSaltOffset);
  return bytes;
}

std::optional<CipherHeader> ParseCipherHeader(const CipherHeader::Bytes& bytes) {
  CipherHeader header;
  header.cost.logN = std::to_integer<std::uint8_t>(bytes[kCostOffset]);
  header.cost.r = std::to_integer<std::uint8_t>(bytes[kCostOffset + 1]);
  header.cost.p = std::to_integer<std::uint8_t>(bytes[kCostOffset + 2]);
  std::copy_n(bytes.begin() + kSaltOffset, CipherHeader::kSaltSize, header.salt.begin());
  static_assert(kReservedOffset == kCostOffset + 3);
  // The bytes outside the fields must be exactly as we write them.
  if (ToBytes(header) != bytes || !IsAffordable(header.cost) || !IsDefined(header.cost)) return std::nullopt;
  return header;
}
