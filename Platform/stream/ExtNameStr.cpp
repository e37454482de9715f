#include "Platform/stream/ExtNameStr.h"

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>

#include "Platform/stream/SecretBytes.h"
#include "Platform/text/QUAVMB.h"

namespace {

using Conversion = int (*)(QUAVMBConverter* converter, std::string& output, const std::string& input);

std::string PresentEncoding() {
  if (qUTF8mode() != 0) return kUtf8Name;
  char name[kCodePageNameSize];
  QUAVMBConverterName_A(0, name);
  return *name != '\0' ? name : QUAVMBDefaultCodePage();
}

bool IsAscii(const std::string& text) {
  return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// A character has at most 4 bytes in each encoding. With room for them the string does not grow, so no part of a
// password stays in freed memory.
constexpr std::size_t kMostBytes = 4;

// Converts the text into its other form. Copies the text when it cannot be converted without loss.
void ConvertInto(std::string& other, const std::string& text, Conversion convert) {
  other = text;
  if (IsAscii(text)) return;
  const std::string encoding = PresentEncoding();
  if (QUAVMBqSameCodePage(encoding.c_str(), kUtf8Name)) return;
  const QUAVMBConverterPtr converter(QUAVMBConverterNew_A(encoding.c_str()));
  other.reserve(text.size() * kMostBytes);
  if (!converter || convert(converter.get(), other, text) != 0) other = text;
}

// Makes a copy in allocated memory. A string moves its short text by copying it and would leave the original in place.
std::string CopyToMove(const std::string& text) {
  constexpr std::size_t kNotInside = 16;
  std::string copy;
  copy.reserve(std::max(text.size(), kNotInside));
  copy = text;
  return copy;
}

}  // namespace

ExtNameStr::ExtNameStr(const char* generic) {
  if (generic != nullptr) SetGeneric(generic);
}

ExtNameStr::ExtNameStr(const std::string& generic) { SetGeneric(generic); }

ExtNameStr::ExtNameStr(ExtNameStr&& other) noexcept { *this = std::move(other); }

ExtNameStr& ExtNameStr::operator=(const ExtNameStr& other) {
  if (this == &other) return *this;
  std::string generic = CopyToMove(other.m_generic);
  std::string u8 = CopyToMove(other.m_u8);
  Clear();  // nothing can fail after this line
  m_generic = std::move(generic);
  m_u8 = std::move(u8);
  return *this;
}

ExtNameStr& ExtNameStr::operator=(ExtNameStr&& other) noexcept {
  if (this == &other) return *this;
  Clear();
  m_generic.swap(other.m_generic);
  m_u8.swap(other.m_u8);
  other.Clear();  // a short text is copied, and the original is still in place
  return *this;
}

ExtNameStr::~ExtNameStr() { Clear(); }

void ExtNameStr::Clear() {
  Wipe(m_generic);
  Wipe(m_u8);
}

// Strings are copied, not moved: moving from a short one leaves its whole text in place.
void ExtNameStr::SetGeneric(const std::string& name) {
  ExtNameStr set;
  set.m_generic = name;
  ConvertInto(set.m_u8, name, &QUAVMBCodePageToU8);
  *this = set;
}

void ExtNameStr::SetU8(const std::string& name) {
  ExtNameStr set;
  set.m_u8 = name;
  ConvertInto(set.m_generic, name, &QUAVMBU8ToCodePage);
  *this = set;
}

int ExtNameStr::Access(int mode) const { return ::access(m_generic.c_str(), mode); }
