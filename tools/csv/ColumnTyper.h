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
// Several typers may look at parts of a column, for example on several threads. One then looks at them in their order:
//
//   ColumnTyper part('.', ColumnTyper::Values::part);
//   part.Look(value);
//   typer.LookAtAll(part);
//
// Threads: one thread at a time for each object.

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
  enum class Values { all, part };

  explicit ColumnTyper(char decimalMark = '.', Values values = Values::all) : m_mark(decimalMark), m_values(values) {}

  void Look(std::string_view value);
  // Has the result of Look for each value of a part.
  void LookAtAll(const ColumnTyper& part);
  ColumnType Type() const;

 private:
  enum class Kind { none, number, date, dateTime, time, text };

  bool LookAtNumber(std::string_view value);
  bool LookAtTime(std::string_view value);
  void LookAtStranger(std::string_view value);
  void CountStranger();
  bool IsOfOtherKind(std::string_view value);
  bool TakeStranger(const std::string& value);
  static Kind Joined(Kind a, Kind b);
  bool AreStrangersFew() const;
  QUAV_Format NumberFormat() const;
  QUAV_Format TimeFormat() const;

  DecimalMark m_mark;
  Values m_values;
  Kind m_kind = Kind::none;
  bool m_isExact = true;     // all values so far come back
  std::size_t m_widest = 0;  // in bytes
  int m_wholeDigits = 0;     // digits before the point, including a sign
  int m_decimals = 0;
  long long m_fitting = 0;               // values of the kind
  long long m_strange = 0;               // values that are among the strangers
  long long m_excess = 0;                // the most by which the latter have ever been more, at least 0
  std::vector<std::string> m_strangers;  // the different values that are not of the kind, as long as they are few
};

}  // namespace tool

#endif
