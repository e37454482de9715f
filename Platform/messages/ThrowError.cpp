#include "Platform/messages/ThrowError.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <system_error>

namespace {

struct CatalogEntry {
  int number;
  const char* text;
};

// Sorted by number.
constexpr std::array kCatalog{
    CatalogEntry{1001, "a temporary file cannot be made: check the room and the rights in the temp directory"},
    CatalogEntry{1002, "cases could not be written to the temporary file %s"},
    CatalogEntry{1003, "cases could not be read back from the temporary file %s"},
    CatalogEntry{1004, "the temp directory %s is left out: it is not there, or no file can be made in it"},
    CatalogEntry{1201, "the file cannot be opened"},
    CatalogEntry{1202, "a case could not be written: the file is not complete"},
    CatalogEntry{1204, "this is not a system file, or it is damaged"},
    CatalogEntry{1205, "the file ends too soon: it was cut short, or it is damaged"},
    CatalogEntry{1206, "the cases are compressed in a way that cannot be read here"},
    CatalogEntry{1209,
                 "the data set is not in a state to be written: its dictionary is committed, it is being read, or its "
                 "file was changed since it was opened"},
    CatalogEntry{1210,
                 "the file has the byte order of another machine, and no cases can be added to it: convert it first"},
    CatalogEntry{1213, "the password is wrong, or the file is not an encrypted one"},
    CatalogEntry{1214, "the file is encrypted: it opens only with its password"},
    CatalogEntry{1215,
                 "no key can be made for the encrypted file: no memory can be locked for it (raise the limit of locked "
                 "memory, ulimit -l)"},
    CatalogEntry{1504, "no short name can be formed for the variable %s: rename it"},
    CatalogEntry{1505, "two variables have the name %s: names must differ by more than case"},
    CatalogEntry{1506, "a system file cannot hold a variable with the name %s: rename it"},
    CatalogEntry{1507, "there is no variable with the name %s"},
    CatalogEntry{1508,
                 "a system file cannot hold the attribute %s: its name is not allowed, or a value has a line feed or a "
                 "NUL byte"},
    CatalogEntry{
        1509,
        "a system file cannot hold the set %s: its name is not allowed or is that of another set, or its label "
        "or value has a line break"},
    CatalogEntry{1510, "a system file cannot hold the variable %s: a missing value has a NUL byte"},
    CatalogEntry{1701, "some text could not be converted from %s to UTF-8 without loss"},
    CatalogEntry{1711, "some text could not be converted to %s without loss"},
    CatalogEntry{1712, "some text could not be converted to %s without loss: the saved file differs from the data set"},
    CatalogEntry{1721, "the text of %s is in the encoding %s, which cannot be shown here: it stands unconverted"},
    CatalogEntry{1722, "some variables had names that are not allowed and were renamed: %s"},
};

std::string CatalogText(std::string_view catalog, int number) {
  if (catalog == kDatasrcCatalog) {
    const auto* entry = std::ranges::find(kCatalog, number, &CatalogEntry::number);
    if (entry != kCatalog.end()) return entry->text;
  }
  return "message " + std::to_string(number) + " (the catalog has no text for it)";
}

struct FilledText {
  std::string text;
  bool used;  // whether the argument is in the text
};

FilledText FillPlace(std::string text, const char* argument) {
  const std::size_t place = text.find("%s");
  if (place == std::string::npos) return {std::move(text), false};
  text.replace(place, 2, argument);
  return {std::move(text), true};
}

std::string WhatText(const std::string& text, const std::string& file) {
  return file.empty() ? text : text + ": " + file;
}

}  // namespace

std::string FilePlace::Text() const {
  if (!IsKnown()) return {};
  std::string text;
  if (record != 0) text = "record " + std::to_string(record);
  if (subtype) text += "/" + std::to_string(*subtype);
  return text + (text.empty() ? "byte " : ", byte ") + std::to_string(offset);
}

QuavServerError::QuavServerError(int number, const std::string& text, const std::string& file)
    : std::runtime_error(WhatText(text, file)), m_number(number), m_text(text), m_file(file) {}

QuavServerError::~QuavServerError() = default;

void ThrowError::Simple(const char* catalog, int number) {
  throw QuavServerError(number, CatalogText(catalog, number), std::string());
}

void ThrowError::String1(const char* catalog, int number, const char* text) {
  const FilledText filled = FillPlace(CatalogText(catalog, number), text);
  throw QuavServerError(number, filled.text, filled.used ? "" : text);
}

void ThrowError::String2(const char* catalog, int number, const char* text, const char* file) {
  throw QuavServerError(number, FillPlace(CatalogText(catalog, number), text).text, file);
}

void ThrowError::StringSys(const char* catalog, int number, const char* text) {
  const int reason = errno;
  FilledText filled = FillPlace(CatalogText(catalog, number), text);
  if (reason != 0) filled.text += " (" + std::generic_category().message(reason) + ")";
  throw QuavServerError(number, filled.text, filled.used ? "" : text);
}

QuavServerErrorText::QuavServerErrorText(const char* catalog, int number) : m_text(CatalogText(catalog, number)) {}
