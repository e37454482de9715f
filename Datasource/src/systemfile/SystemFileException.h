// A malformed file, inside the parser: the test that failed, and the number of the message for it.
//
// It never leaves the library. At the boundary, ReportSystemFileException turns it into the library's error.

#ifndef DATASRC_SRC_SYSTEMFILE_SYSTEMFILEEXCEPTION_H
#define DATASRC_SRC_SYSTEMFILE_SYSTEMFILEEXCEPTION_H

#include <source_location>
#include <string>

#include "Platform/messages/ThrowError.h"

inline constexpr int kCannotOpen = 1201;
inline constexpr int kRowNotWritten = 1202;
inline constexpr int kMalformed = 1204;
inline constexpr int kUnexpectedEnd = 1205;
inline constexpr int kUnknownCompression = 1206;
inline constexpr int kWrongState = 1209;
inline constexpr int kOtherByteOrder = 1210;
inline constexpr int kWrongPassword = 1213;
inline constexpr int kEncrypted = 1214;
inline constexpr int kNoMemoryForKey = 1215;
inline constexpr int kNoShortName = 1504;
inline constexpr int kDuplicateName = 1505;
inline constexpr int kNameNotHeld = 1506;
inline constexpr int kNoSuchName = 1507;
inline constexpr int kAttributeNotHeld = 1508;
inline constexpr int kSetNotHeld = 1509;
inline constexpr int kNulNotHeld = 1510;
inline constexpr int kLostToUtf8 = 1701;
inline constexpr int kLostToCodePage = 1711;
inline constexpr int kLostOnSaving = 1712;
inline constexpr int kForeignEncoding = 1721;
inline constexpr int kNamesRepaired = 1722;

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
