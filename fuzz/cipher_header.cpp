// Reads the header of enciphered bytes and the bytes after it. No input ends the process, asks for more memory or time
// than a file may, or deciphers with a password that it was not enciphered with.
//
//   input   the bytes after the wrapper, for the empty password
//
// To keep a run short, the target skips keys that need more than a thousandth of the work that a file may ask for. The
// header's own test covers them.

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

// Returns false for a header whose key is too expensive to make here.
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
  // No such bytes arise by chance: they come unchanged from the corpus.
  const std::string again = EncipheredBytes(to.Bytes(), "");
  Check(again.size() == bytes.size());
  return 0;
}
