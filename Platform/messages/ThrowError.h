// The errors that leave the library, and the catalog "datasrc.err" of their texts.
//
// Every fault that a caller may meet has a number. The number is the interface, the text is for people: it says what is
// wrong and what to do. A text may hold places "%s"; where it has none, the argument is the file that it concerns.
//
// Threads: any; the catalog is read-only.

#ifndef PLATFORM_MESSAGES_THROWERROR_H
#define PLATFORM_MESSAGES_THROWERROR_H

#include <stdexcept>
#include <string>

#include "Platform/Export.h"

// The name of the library's catalog, as callers hand it to ThrowError and QuavServerErrorText.
inline constexpr char kDatasrcCatalog[] = "datasrc.err";

// What the library throws.
class DATASRC_API QuavServerError : public std::runtime_error {
 public:
  QuavServerError(int number, const std::string& text, const std::string& file);
  ~QuavServerError() override;

  // The number in the catalog, 1201 for example.
  int Number() const { return m_number; }
  // What is wrong, without the file's name; with the system's reason in brackets where one is known.
  const std::string& Text() const { return m_text; }
  // The file that it concerns, as its name was given; empty when the error concerns none.
  const std::string& File() const { return m_file; }
  // what() is "TEXT: FILE", or "TEXT" without a file.

 private:
  int m_number;
  std::string m_text;
  std::string m_file;
};

class DATASRC_API ThrowError {
 public:
  // Throws the message as it stands.
  [[noreturn]] static void Simple(const char* catalog, int number);
  // Throws the message with `text` in its place "%s", or as the file it concerns when the message has no place.
  [[noreturn]] static void String1(const char* catalog, int number, const char* text);
  // As String1; `file` is the file it concerns.
  [[noreturn]] static void String2(const char* catalog, int number, const char* text, const char* file);
  // As String1, with the system's text for the present errno behind it (none when errno is 0).
  [[noreturn]] static void StringSys(const char* catalog, int number, const char* text);
};

// The text of a message as a format for printf: each of its places is a "%s". A number or a catalog that is not known
// yields a text that says so.
class DATASRC_API QuavServerErrorText {
 public:
  QuavServerErrorText(const char* catalog, int number);
  operator const char*() const { return m_text.c_str(); }

 private:
  std::string m_text;
};

#endif
