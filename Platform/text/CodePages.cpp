// The numbers of code pages, and the comparison of their names.

#include <algorithm>
#include <iterator>
#include <string_view>

#include "Platform/text/Encoding.h"
#include "Platform/text/QUAVMB.h"

namespace {

using quavmb::AsciiUpper;
using quavmb::Encoding;

struct NumberedCodePage {
  int number;
  const char* name;
};

// Choice: the names that the Internet's register of character sets prefers, or ICU's where it has none. When one code
// page has several numbers, its name gives the first of them.
//
// Left out: 1 to 4, which files carry for EBCDIC, 7-bit ASCII, 8-bit ASCII and another local code, because they name
// no specific code page; and the code pages with shift sequences (50220 and the like), because no part of their text
// can be read alone.
constexpr NumberedCodePage kCodePages[] = {
    {65001, kUtf8Name},

    {1250, "windows-1250"},
    {1251, "windows-1251"},
    {1252, "windows-1252"},
    {1253, "windows-1253"},
    {1254, "windows-1254"},
    {1255, "windows-1255"},
    {1256, "windows-1256"},
    {1257, "windows-1257"},
    {1258, "windows-1258"},
    {874, "windows-874"},

    {932, "Shift_JIS"},
    {936, "GBK"},
    {949, "windows-949"},
    {950, "Big5"},
    {51932, "EUC-JP"},
    {51936, "GB2312"},
    {51949, "EUC-KR"},
    {54936, "GB18030"},

    {20127, "US-ASCII"},
    {28591, "ISO-8859-1"},
    {28592, "ISO-8859-2"},
    {28593, "ISO-8859-3"},
    {28594, "ISO-8859-4"},
    {28595, "ISO-8859-5"},
    {28596, "ISO-8859-6"},
    {28597, "ISO-8859-7"},
    {28598, "ISO-8859-8"},
    {28599, "ISO-8859-9"},
    {28600, "ISO-8859-10"},
    {28601, "ISO-8859-11"},
    {28603, "ISO-8859-13"},
    {28604, "ISO-8859-14"},
    {28605, "ISO-8859-15"},
    {20866, "KOI8-R"},
    {21866, "KOI8-U"},

    {437, "IBM437"},
    {720, "DOS-720"},
    {737, "IBM737"},
    {775, "IBM775"},
    {850, "IBM850"},
    {851, "IBM851"},
    {852, "IBM852"},
    {855, "IBM855"},
    {857, "IBM857"},
    {858, "IBM00858"},
    {860, "IBM860"},
    {861, "IBM861"},
    {862, "IBM862"},
    {863, "IBM863"},
    {864, "IBM864"},
    {865, "IBM865"},
    {866, "IBM866"},
    {868, "IBM868"},
    {869, "IBM869"},

    {10000, "macintosh"},
    {10006, "x-mac-greek"},
    {10007, "x-mac-cyrillic"},
    {10029, "x-mac-centraleurroman"},
    {10081, "x-mac-turkish"},

    {37, "IBM037"},
    {500, "IBM500"},
    {870, "IBM870"},
    {1026, "IBM1026"},
    {1047, "IBM1047"},
    {1140, "IBM01140"},
    {1141, "IBM01141"},
    {1142, "IBM01142"},
    {1143, "IBM01143"},
    {1144, "IBM01144"},
    {1145, "IBM01145"},
    {1146, "IBM01146"},
    {1147, "IBM01147"},
    {1148, "IBM01148"},
    {1149, "IBM01149"},

    // Second numbers.
    {367, "US-ASCII"},
    {819, "ISO-8859-1"},
    {912, "ISO-8859-2"},
    {915, "ISO-8859-5"},
    {920, "ISO-8859-9"},
    {923, "ISO-8859-15"},
    {1208, kUtf8Name},
};

bool EqualApartFromCase(std::string_view a, std::string_view b) {
  return std::ranges::equal(a, b, {}, AsciiUpper, AsciiUpper);
}

}  // namespace

int QUAVMBCpNameFromNum_A(char* buffer, int number) {
  *buffer = '\0';
  const auto place = std::ranges::find(kCodePages, number, &NumberedCodePage::number);
  if (place == std::end(kCodePages) || Encoding::Find(place->name) == nullptr) return 0;
  buffer[std::string_view(place->name).copy(buffer, kCodePageNameSize - 1)] = '\0';
  return 1;
}

int QUAVMBCpNameToNum_A(const char* name, int* number) {
  const auto place = std::ranges::find_if(
      kCodePages, [name](const NumberedCodePage& codePage) { return QUAVMBqSameCodePage(codePage.name, name); });
  if (place == std::end(kCodePages)) return 0;
  *number = place->number;
  return 1;
}

bool QUAVMBqSameCodePage(const char* a, const char* b) {
  if (EqualApartFromCase(a, b)) return true;
  const char* canonical = Encoding::CanonicalName(a);
  return canonical != nullptr && canonical == Encoding::CanonicalName(b);
}
