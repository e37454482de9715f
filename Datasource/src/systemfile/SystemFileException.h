// A malformed file, inside the parser: the test that failed, and the number of the message for it.
//
// It never leaves the library. At the boundary, ReportSystemFileException turns it into the library's error.

#ifndef DATASRC_SRC_SYSTEMFILE_SYSTEMFILEEXCEPTION_H
#define DATASRC_SRC_SYSTEMFILE_SYSTEMFILEEXCEPTION_H

#include <source_location>
#include <string>

#include "Platform/messages/MessageNumbers.h"
#include "Platform/messages/ThrowError.h"

class SystemFileException {
 public:
  // With `system`, the present errno belongs to the message and is kept.
  SystemFileException(int number, std::string expression, std::string file, int line, bool system);

  int Number() const { return m_number; }
  const std::string& Expression() const { return m_expression; }
  const std::string& File() const { return m_file; }
  int Line() const { return m_line; }
  bool System() const { return m_system; }
  int Errno() const { return m_errno; }
  // Unknown outside the dictionary.
  const FilePlace& Place() const { return m_place; }
  void SetPlace(const FilePlace& place) { m_place = place; }

 private:
  std::string m_file;
  std::string m_expression;
  int m_number;
  int m_line;
  bool m_system;
  int m_errno;
  FilePlace m_place;
};

// Throws with the place of the call.
[[noreturn]] void ThrowSystemFileException(int number, const char* expression, bool system,
                                           std::source_location place = std::source_location::current());

// Throws when the test of the file failed. `expression` is the text of the test.
inline void Require(bool holds, int number, const char* expression,
                    std::source_location place = std::source_location::current()) {
  if (!holds) [[unlikely]]
    ThrowSystemFileException(number, expression, false, place);
}

// Throws the library's error for `fault`, with the name of the file and the place in it, and with the system's reason
// if there is one.
[[noreturn]] void ReportSystemFileException(const SystemFileException& fault, const char* fileSpec);

#endif
