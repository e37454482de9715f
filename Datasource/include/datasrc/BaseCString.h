// A small string class for callers that know it by these names. Text is bytes in the process's present encoding.
// Positions and lengths are in bytes, positions count from 0, and both are clamped to the text: no value is out of
// range.
//
// Threads: a value; one thread at a time for each object.

#ifndef DATASRC_BASECSTRING_H
#define DATASRC_BASECSTRING_H

#include <string>

#include "Platform/Export.h"

class DATASRC_API BaseCString {
 public:
  BaseCString() = default;
  // Null, also in the functions below, is the empty text.
  BaseCString(const char* text);
  BaseCString(const char* text, int length);
  BaseCString(const std::string& text) : m_text(text) {}

  int GetLength() const { return static_cast<int>(m_text.size()); }
  // The text lives until the object changes.
  operator const char*() const { return m_text.c_str(); }

  // Return the first `count` bytes; `count` bytes, or all, from `first` on; the last `count` bytes.
  BaseCString Left(int count) const;
  BaseCString Mid(int first) const;
  BaseCString Mid(int first, int count) const;
  BaseCString Right(int count) const;
  // Return the first position of the text, or of the character, at or after `start`; -1 for none.
  int Find(const char* text, int start = 0) const;
  int Find(char character, int start = 0) const;
  // Returns the last position of the character; -1 for none.
  int ReverseFind(char character) const;
  // Returns the bytes before the first byte that is in the set; all of them when none is.
  BaseCString SpanExcluding(const char* set) const;
  // The length may change.
  void MakeUpper();
  // Removes white space from the end.
  void TrimRight();

  // Return a number below, at or above 0: by bytes; without regard to case; by the process's collation, as it is at the
  // first call.
  int Compare(const char* other) const;
  int CompareNoCase(const char* other) const;
  int Collate(const char* other) const;

  BaseCString& operator+=(const BaseCString& other);
  BaseCString& operator+=(char character);
  DATASRC_API friend BaseCString operator+(const BaseCString& a, const BaseCString& b);
  DATASRC_API friend BaseCString operator+(const BaseCString& a, const char* b);
  DATASRC_API friend BaseCString operator+(const char* a, const BaseCString& b);

  // These compare by bytes.
  friend bool operator==(const BaseCString& a, const BaseCString& b) { return a.m_text == b.m_text; }
  friend bool operator==(const BaseCString& a, const char* b) { return a.Compare(b) == 0; }
  friend bool operator!=(const BaseCString& a, const char* b) { return a.Compare(b) != 0; }
  friend bool operator<(const BaseCString& a, const BaseCString& b) { return a.m_text < b.m_text; }
  friend bool operator<(const BaseCString& a, const char* b) { return a.Compare(b) < 0; }
  friend bool operator<(const char* a, const BaseCString& b) { return b.Compare(a) > 0; }
  friend bool operator>(const BaseCString& a, const BaseCString& b) { return b < a; }
  friend bool operator<=(const BaseCString& a, const BaseCString& b) { return !(b < a); }
  friend bool operator>=(const BaseCString& a, const BaseCString& b) { return !(a < b); }

 private:
  std::string m_text;
};

#endif
