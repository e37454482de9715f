// The errors that leave the library, and the catalog "datasrc.err" with their texts.
//
// Every fault that can reach a caller has a number. The number is the interface; the text is for people: it says what
// is wrong and what to do. A text may contain places "%s". When it has none, the argument is the file of the error.
//
// Threads: any; the catalog is read-only.

#ifndef PLATFORM_MESSAGES_THROWERROR_H
#define PLATFORM_MESSAGES_THROWERROR_H

#include <optional>
#include <stdexcept>
#include <string>

#include "Platform/Export.h"

// The name of the library's catalog, which callers pass to ThrowError and QuavServerErrorText.
inline constexpr char kDatasrcCatalog[] = "datasrc.err";

// Where in a system file an error is.
struct DATASRC_API FilePlace {
  long long offset = -1;            // of the first byte of the record, from 0 in the (plain) contents; -1: unknown
  int record = 0;                   // the record's type; 0 in the header, and where a type should be but is not
  std::optional<int> subtype = {};  // of an extension record

  bool IsKnown() const { return offset >= 0; }
  // "record 7/13, byte 1234"; "record 3, byte 208"; "byte 0" without a type; empty when the place is unknown.
  std::string Text() const;
};

// The exception that the library throws.
class DATASRC_API QuavServerError : public std::runtime_error {
 public:
  QuavServerError(int number, const std::string& text, const std::string& file);
  ~QuavServerError() override;

  // The number in the catalog, for example 1201.
  int Number() const { return m_number; }
  // What is wrong, without the name of the file. The system's reason follows in brackets when it is known.
  const std::string& Text() const { return m_text; }
  // The name of the file with the error, as the caller gave it; empty when the error concerns no file.
  const std::string& File() const { return m_file; }
  // Where in the file the dictionary is wrong; unknown for all other errors.
  const FilePlace& Place() const { return m_place; }
  void SetPlace(const FilePlace& place) { m_place = place; }
  // what() is "TEXT: FILE", or "TEXT" without a file.

 private:
  int m_number;
  std::string m_text;
  std::string m_file;
  FilePlace m_place;
};

class DATASRC_API ThrowError {
 public:
  // Throws the message without an argument.
  [[noreturn]] static void Simple(const char* catalog, int number);
  // Throws the message with `text` in its place "%s". When the message has no place, `text` is the file of the error.
  [[noreturn]] static void String1(const char* catalog, int number, const char* text);
  // Throws as String1 does; `file` is the file of the error.
  [[noreturn]] static void String2(const char* catalog, int number, const char* text, const char* file);
  // Throws as String1 does and appends the system's text for errno (nothing when errno is 0).
  [[noreturn]] static void StringSys(const char* catalog, int number, const char* text);
};

// The text of a message as a printf format: each place is a "%s". For an unknown number or catalog the text says that
// it is unknown.
class DATASRC_API QuavServerErrorText {
 public:
  QuavServerErrorText(const char* catalog, int number);
  operator const char*() const { return m_text.c_str(); }

 private:
  std::string m_text;
};

#endif
