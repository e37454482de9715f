#include "Platform/stream/ExtNameStr.h"

#include <unistd.h>

#include <algorithm>
#include <memory>
#include <utility>

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

// The text's other form, or the text itself where it has none that leads back to it.
std::string OtherForm(const std::string& text, Conversion convert) {
  if (IsAscii(text)) return text;
  const std::string encoding = PresentEncoding();
  if (QUAVMBqSameCodePage(encoding.c_str(), kUtf8Name)) return text;
  const QUAVMBConverterPtr converter(QUAVMBConverterNew_A(encoding.c_str()));
  std::string other;
  if (!converter || convert(converter.get(), other, text) != 0) return text;
  return other;
}

}  // namespace

ExtNameStr::ExtNameStr(const char* generic) {
  if (generic != nullptr) SetGeneric(generic);
}

ExtNameStr::ExtNameStr(const std::string& generic) { SetGeneric(generic); }

void ExtNameStr::Clear() {
  m_generic.clear();
  m_u8.clear();
}

void ExtNameStr::SetGeneric(const std::string& name) {
  std::string u8 = OtherForm(name, &QUAVMBCodePageToU8);
  m_generic = name;  // before the other form, which `name` may be
  m_u8 = std::move(u8);
}

void ExtNameStr::SetU8(const std::string& name) {
  std::string generic = OtherForm(name, &QUAVMBU8ToCodePage);
  m_u8 = name;
  m_generic = std::move(generic);
}

int ExtNameStr::Access(int mode) const { return ::access(m_generic.c_str(), mode); }
