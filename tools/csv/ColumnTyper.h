// Determines the type of a CSV column from all its values.
//
//   ColumnTyper typer;
//   typer.Look(value);     for each value; an empty text is not a value
//   ... typer.Type() ...
//
// A value counts as a number, date or time only when it comes back from a double unchanged and loses no leading zeros.
// When only such values keep a column from being numeric, or dates or times, the column is text, and its type says so. So
// it does when few different texts, such as "NA", are among many numbers, dates or times.
//
//   values                column
//   none                  a number
//   numbers               a number
//   dates                 a date
//   dates and date-times  a date and time
//   times, durations      a time
//   anything else         text as wide as the widest value
//
// Threads: one thread at a time.

#ifndef TOOLS_CSV_COLUMNTYPER_H
#define TOOLS_CSV_COLUMNTYPER_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "datasrc/QUAV_Format.h"
#include "tools/csv/DecimalMark.h"

namespace tool {

struct ColumnType {
  std::size_t width = 0;      // 0 for a number, otherwise the bytes of a string
  QUAV_Format format = {};    // the format of a number
  bool looksNumeric = false;  // kept as text, although all values look like numbers
  bool looksTimed = false;    // kept as text, although all values look like dates or times
  // Kept as text only because of these values among numbers, or among dates or times.
  std::vector<std::string> strangers = {};
};

class ColumnTyper {
 public:
  explicit ColumnTyper(char decimalMark = '.') : m_mark(decimalMark) {}

  void Look(std::string_view value);
  ColumnType Type() const;

 private:
  enum class Kind { none, number, date, dateTime, time, text };

  bool LookAtNumber(std::string_view value);
  bool LookAtTime(std::string_view value);
  void LookAtStranger(std::string_view value);
  bool IsOfOtherKind(std::string_view value);
  bool AreStrangersFew() const;
  QUAV_Format NumberFormat() const;
  QUAV_Format TimeFormat() const;

  DecimalMark m_mark;
  Kind m_kind = Kind::none;
  bool m_isExact = true;     // all values so far come back
  std::size_t m_widest = 0;  // in bytes
  int m_wholeDigits = 0;     // digits before the point, including a sign
  int m_decimals = 0;
  long long m_fitting = 0;               // values of the kind
  long long m_strange = 0;               // values that are among the strangers
  std::vector<std::string> m_strangers;  // the different values that are not of the kind, as long as they are few
};

}  // namespace tool

#endif
