// The header of enciphered bytes, and what stands behind it. No bytes end the process, ask for more memory or time than
// a file may, or come out under a password that they were not enciphered with.
//
//   input   what stands behind the wrapper, for the empty password
//
// Keys that cost more than a thousandth of what a file may ask for are left to the header's own test: a run is to be
// short.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "Platform/cipher/CipherHeader.h"
#include "Platform/cipher/StatCrypt.h"
#include "tests/support/EncryptedFile.h"
#include "tests/support/FaultyStream.h"

namespace {

constexpr std::uint64_t kCheap = std::uint64_t{512} * 1024;

void Check(bool holds) {
  if (!holds) std::abort();
}

// Whether it is a header, and its key can be made here.
bool CheckHeader(const std::string& bytes) {
  CipherHeader::Bytes raw{};
  if (bytes.size() < raw.size()) return true;
  for (std::size_t i = 0; i < raw.size(); ++i) raw[i] = static_cast<std::byte>(bytes[i]);
  const auto header = ParseCipherHeader(raw);
  if (!header) return true;
  Check(ToBytes(*header) == raw);
  Check(header->cost.MemoryBytes() <= std::uint64_t{256} << 20);
  return header->cost.MemoryBytes() * header->cost.p <= kCheap;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  if (!CheckHeader(bytes)) return 0;
  FaultyStream from(bytes);
  FaultyStream to("");
  if (!StatCrypt().decrypt("", from, to)) return 0;
  // Nobody makes such bytes by chance: they are those of the corpus, whole.
  const std::string again = EncipheredBytes(to.Bytes(), "");
  Check(again.size() == bytes.size());
  return 0;
}
