// A small string class for callers that know it by these names. Text is bytes in the process's present encoding;
// positions and lengths are in bytes, counted from 0, and are cut to what there is.
//
// Threads: a value.

#ifndef DATASRC_BASECSTRING_H
#define DATASRC_BASECSTRING_H

#include <string>

#include "Platform/Export.h"

class DATASRC_API BaseCString {
 public:
  BaseCString() = default;
  // Null is the empty text.
  BaseCString(const char* text);
  BaseCString(const char* text, int length);
  BaseCString(const std::string& text) : m_text(text) {}

  int GetLength() const { return static_cast<int>(m_text.size()); }
  operator const char*() const { return m_text.c_str(); }

  // The first `count` bytes; `count` bytes from `first` on, or all from there; the last `count` bytes.
  BaseCString Left(int count) const;
  BaseCString Mid(int first) const;
  BaseCString Mid(int first, int count) const;
  BaseCString Right(int count) const;
  // The first place of the text, or of the character, at or behind `start`; -1 for none.
  int Find(const char* text, int start = 0) const;
  int Find(char character, int start = 0) const;
  // The last place of the character; -1 for none.
  int ReverseFind(char character) const;
  // The bytes in front of the first that is one of the set; all of them when none is.
  BaseCString SpanExcluding(const char* set) const;
  void MakeUpper();
  // Cuts white space off the end.
  void TrimRight();

  // Below, at or above 0: by bytes, without regard to case, by the process's collation.
  int Compare(const char* other) const;
  int CompareNoCase(const char* other) const;
  int Collate(const char* other) const;

  BaseCString& operator+=(const BaseCString& other);
  BaseCString& operator+=(char character);
  DATASRC_API friend BaseCString operator+(const BaseCString& a, const BaseCString& b);
  DATASRC_API friend BaseCString operator+(const BaseCString& a, const char* b);
  DATASRC_API friend BaseCString operator+(const char* a, const BaseCString& b);

  // By bytes.
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
