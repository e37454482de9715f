// A code page with one to four bytes a character, through ICU's converter.
//
// A later byte of a character may be below 128, so text must be read from its beginning. Case forms are those that
// the code page has as one character.
//
// Threads: any. An ICU converter serves one thread at a time; each operation borrows one and returns it.

#ifndef PLATFORM_TEXT_MULTIBYTEENCODING_H
#define PLATFORM_TEXT_MULTIBYTEENCODING_H

#include <memory>
#include <mutex>
#include <vector>

#include "Platform/text/Encoding.h"

namespace quavmb {

class MultiByteEncoding final : public Encoding {
 public:
  // `canonicalName` is ICU's and stays valid.
  MultiByteEncoding(const char* canonicalName, bool hasAscii);
  ~MultiByteEncoding() override;

  Character First(std::string_view text) const override;
  bool ToUtf8(std::string& output, std::string_view text) const override;
  bool FromUtf8(std::string& output, std::string_view text) const override;

 private:
  class Converter;
  class Loan;

  std::size_t FindWholeCharacters(std::string_view text, std::size_t size) const override;
  std::string FindInCase(std::string_view text, LetterCase to) const override;

  // Returns whether the byte, which begins a character, is the whole character.
  bool IsAsciiCharacter(char first) const { return HasAscii() && IsAscii(first); }

  std::unique_ptr<Converter> TakeIdle() const;
  void GiveBack(std::unique_ptr<Converter> converter) const;

  const char* m_name;
  mutable std::mutex m_mutex;  // guards the following members
  mutable std::size_t m_made = 0;
  mutable std::vector<std::unique_ptr<Converter>> m_idle;
};

}  // namespace quavmb

#endif
