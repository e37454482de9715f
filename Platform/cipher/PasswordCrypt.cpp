#include "Platform/cipher/PasswordCrypt.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "Platform/stream/ExtNameStr.h"
#include "Platform/stream/SecretBytes.h"

namespace {

constexpr std::string_view kPrefix = "mangled1:";
constexpr std::string_view kDigits = "0123456789abcdef";
constexpr std::size_t kCheckSize = 2;

// Gives the bytes that disguise the bytes of a password, one after the other.
class Disguise {
 public:
  std::uint8_t Next() {
    m_state = static_cast<std::uint8_t>(m_state * 5 + 113);
    return m_state;
  }

 private:
  std::uint8_t m_state = 0xa7;
};

// Distinguishes a mangled password from text that only looks like one: two sums, which depend on the place of each
// byte.
class Check {
 public:
  void Add(std::uint8_t byte) {
    m_low = static_cast<std::uint8_t>(m_low + byte + 1);
    m_high = static_cast<std::uint8_t>(m_high + m_low);
  }
  std::uint8_t At(std::size_t place) const { return place == 0 ? m_low : m_high; }

 private:
  std::uint8_t m_low = 0;
  std::uint8_t m_high = 0;
};

// Text that the destructor wipes. The constructor reserves its room, so it does not grow.
class PassingText {
 public:
  explicit PassingText(std::size_t size) { m_text.reserve(size); }
  PassingText(const PassingText&) = delete;
  PassingText& operator=(const PassingText&) = delete;
  ~PassingText() { Wipe(m_text); }

  std::string& Text() { return m_text; }

 private:
  std::string m_text;
};

void AppendDigits(std::string& text, std::uint8_t byte) {
  text += kDigits[byte / 16];
  text += kDigits[byte % 16];
}

// Returns the byte of two digits, or -1 when they are no digits.
int ByteOf(std::string_view digits) {
  const std::size_t high = kDigits.find(digits[0]);
  const std::size_t low = kDigits.find(digits[1]);
  if (high == std::string_view::npos || low == std::string_view::npos) return -1;
  return static_cast<int>(high * 16 + low);
}

// Returns whether `mangled` is a mangled form, and appends its password to `plain`.
bool Unmangle(std::string_view mangled, std::string& plain) {
  if (!mangled.starts_with(kPrefix)) return false;
  mangled.remove_prefix(kPrefix.size());
  if (mangled.size() % 2 != 0 || mangled.size() / 2 <= kCheckSize) return false;
  const std::size_t size = mangled.size() / 2 - kCheckSize;
  Disguise disguise;
  Check check;
  for (std::size_t i = 0; i < mangled.size() / 2; ++i) {
    const int digits = ByteOf(mangled.substr(2 * i, 2));
    if (digits < 0) return false;
    const auto byte = static_cast<std::uint8_t>(digits ^ disguise.Next());
    if (i >= size && byte != check.At(i - size)) return false;
    if (i >= size) continue;
    check.Add(byte);
    plain += static_cast<char>(byte);
  }
  return true;
}

}  // namespace

PasswordCrypt::PasswordCrypt() = default;

PasswordCrypt::~PasswordCrypt() = default;

bool PasswordCrypt::decrypt(ExtNameStr& password) const {
  PassingText plain(password.GetU8().size());
  const bool isMangled = Unmangle(password.GetU8(), plain.Text());
  if (!isMangled) Wipe(plain.Text());
  password.SetU8(plain.Text());
  return isMangled;
}

void PasswordCrypt::encrypt(ExtNameStr& password) const {
  const std::string& plain = password.GetU8();
  PassingText mangled(kPrefix.size() + 2 * (plain.size() + kCheckSize));
  mangled.Text() = kPrefix;
  Disguise disguise;
  Check check;
  for (const char letter : plain) {
    const auto byte = static_cast<std::uint8_t>(letter);
    check.Add(byte);
    AppendDigits(mangled.Text(), byte ^ disguise.Next());
  }
  for (std::size_t i = 0; i < kCheckSize; ++i) AppendDigits(mangled.Text(), check.At(i) ^ disguise.Next());
  password.SetU8(mangled.Text());
}
