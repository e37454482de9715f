// The code pages of the tests, by number, and ICU's converters for comparison.

#ifndef PLATFORM_TEXT_TESTS_KNOWNCODEPAGES_H
#define PLATFORM_TEXT_TESTS_KNOWNCODEPAGES_H

#include <unicode/ucnv.h>

#include <optional>
#include <string>
#include <string_view>

#include "Platform/text/QUAVMB.h"

inline constexpr int kSingleByteNumbers[] = {
    37,    437,   500,   720,   737,   775,   850,   851,   852,   855,   857,   858,   860,   861,
    862,   863,   864,   865,   866,   868,   869,   870,   874,   1026,  1047,  1140,  1141,  1142,
    1143,  1144,  1145,  1146,  1147,  1148,  1149,  1250,  1251,  1252,  1253,  1254,  1255,  1256,
    1257,  1258,  10000, 10006, 10007, 10029, 10081, 20127, 20866, 21866, 28591, 28592, 28593, 28594,
    28595, 28596, 28597, 28598, 28599, 28600, 28601, 28603, 28604, 28605};
inline constexpr int kMultiByteNumbers[] = {932, 936, 949, 950, 51932, 51936, 51949, 54936};

inline std::string NameOf(int number) {
  char name[kCodePageNameSize];
  return QUAVMBCpNameFromNum_A(name, number) != 0 ? name : "";
}

// An ICU converter that stops at the first thing that it cannot convert.
class IcuConverter {
 public:
  explicit IcuConverter(const std::string& name) {
    UErrorCode status = U_ZERO_ERROR;
    m_converter.adoptInstead(ucnv_open(name.c_str(), &status));
    ucnv_setToUCallBack(Get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    ucnv_setFromUCallBack(Get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  }

  UConverter* Get() const { return m_converter.getAlias(); }

  // Returns nothing when the other side lacks a character of the text. Empty results count as that: ICU drops some
  // characters.
  std::optional<std::u16string> ToUnicode(std::string_view text) const {
    char16_t units[16];
    UErrorCode status = U_ZERO_ERROR;
    const int length = ucnv_toUChars(Get(), units, 16, text.data(), static_cast<int>(text.size()), &status);
    if (U_FAILURE(status) || length == 0) return {};
    return std::u16string(units, static_cast<std::size_t>(length));
  }
  std::optional<std::string> FromUnicode(std::u16string_view text) const {
    char bytes[64];
    UErrorCode status = U_ZERO_ERROR;
    const int length = ucnv_fromUChars(Get(), bytes, 64, text.data(), static_cast<int>(text.size()), &status);
    if (U_FAILURE(status) || length == 0) return {};
    return std::string(bytes, static_cast<std::size_t>(length));
  }
  std::string Substitute() const {
    char bytes[8];
    std::int8_t length = sizeof bytes;
    UErrorCode status = U_ZERO_ERROR;
    ucnv_getSubstChars(Get(), bytes, &length, &status);
    return {bytes, static_cast<std::size_t>(length)};
  }

 private:
  icu::LocalUConverterPointer m_converter;
};

#endif
