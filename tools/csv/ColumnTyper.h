// Finds out what the values of a CSV column are, from all of them.
//
//   ColumnTyper typer;
//   typer.Look(value);     for each value; the empty text is none
//   ... typer.Type() ...
//
// A number is numeric only when it comes back from a double as the same number, and loses no leading zeros. A column
// that would be numeric, or dates or times, but for such a value is text, and says so.
//
//   values               column
//   none                 a number
//   numbers              a number
//   dates                a date
//   dates and date-times a date and time
//   times, durations     a time
//   anything else        text as wide as the widest
//
// Threads: one thread at a time.

#ifndef TOOLS_CSV_COLUMNTYPER_H
#define TOOLS_CSV_COLUMNTYPER_H

#include <cstddef>
#include <string_view>

#include "datasrc/QUAV_Format.h"

namespace tool {

struct ColumnType {
  std::size_t width = 0;      // 0: a number; else the bytes of a string
  QUAV_Format format = {};    // of a number
  bool looksNumeric = false;  // kept as text, though all values look like numbers
  bool looksTimed = false;    // kept as text, though all values look like dates or times
};

class ColumnTyper {
 public:
  void Look(std::string_view value);
  ColumnType Type() const;

 private:
  enum class Kind { none, number, date, dateTime, time, text };

  bool LookAtNumber(std::string_view value);
  bool LookAtTime(std::string_view value);
  QUAV_Format NumberFormat() const;
  QUAV_Format TimeFormat() const;

  Kind m_kind = Kind::none;
  bool m_isExact = true;     // all values so far come back
  std::size_t m_widest = 0;  // in bytes
  int m_wholeDigits = 0;     // in front of the point, a sign included
  int m_decimals = 0;
};

}  // namespace tool

#endif
