#include "datasrc/BaseCString.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "Platform/text/QUAVMB.h"

namespace {

constexpr const char* kWhiteSpace = " \t\n\v\f\r";

const char* OrEmpty(const char* text) { return text != nullptr ? text : ""; }

// Returns a length or a position, limited to the range from 0 to the size.
std::size_t Within(int place, std::size_t size) {
  return place < 0 ? 0 : std::min(static_cast<std::size_t>(place), size);
}

int AsPlace(std::size_t place) { return place == std::string::npos ? -1 : static_cast<int>(place); }

// Created on first use, for the locale of that moment, and never destroyed.
const QUAVMBCollator& Collator() {
  static const QUAVMBCollator* const collator = [] {
    auto made = std::make_unique<QUAVMBCollator>();
    made->Init();
    return made.release();
  }();
  return *collator;
}

}  // namespace

BaseCString::BaseCString(const char* text) : m_text(OrEmpty(text)) {}

BaseCString::BaseCString(const char* text, int length) {
  if (text != nullptr && length > 0) m_text.assign(text, static_cast<std::size_t>(length));
}

BaseCString BaseCString::Left(int count) const { return m_text.substr(0, Within(count, m_text.size())); }

BaseCString BaseCString::Mid(int first) const { return m_text.substr(Within(first, m_text.size())); }

BaseCString BaseCString::Mid(int first, int count) const {
  return m_text.substr(Within(first, m_text.size()), Within(count, m_text.size()));
}

BaseCString BaseCString::Right(int count) const { return m_text.substr(m_text.size() - Within(count, m_text.size())); }

int BaseCString::Find(const char* text, int start) const {
  return AsPlace(m_text.find(OrEmpty(text), Within(start, m_text.size())));
}

int BaseCString::Find(char character, int start) const {
  return AsPlace(m_text.find(character, Within(start, m_text.size())));
}

int BaseCString::ReverseFind(char character) const { return AsPlace(m_text.rfind(character)); }

BaseCString BaseCString::SpanExcluding(const char* set) const {
  return m_text.substr(0, m_text.find_first_of(OrEmpty(set)));
}

void BaseCString::MakeUpper() { m_text = QUAVMBstrupr_A(m_text); }

void BaseCString::TrimRight() { m_text.erase(m_text.find_last_not_of(kWhiteSpace) + 1); }

int BaseCString::Compare(const char* other) const { return m_text.compare(OrEmpty(other)); }

int BaseCString::CompareNoCase(const char* other) const { return QUAVMBstricmp_A(m_text.c_str(), OrEmpty(other)); }

int BaseCString::Collate(const char* other) const { return Collator().Compare(m_text.c_str(), -1, OrEmpty(other), -1); }

BaseCString& BaseCString::operator+=(const BaseCString& other) {
  m_text += other.m_text;
  return *this;
}

BaseCString& BaseCString::operator+=(char character) {
  m_text += character;
  return *this;
}

BaseCString operator+(const BaseCString& a, const BaseCString& b) { return a.m_text + b.m_text; }

BaseCString operator+(const BaseCString& a, const char* b) { return a.m_text + OrEmpty(b); }

BaseCString operator+(const char* a, const BaseCString& b) { return OrEmpty(a) + b.m_text; }
