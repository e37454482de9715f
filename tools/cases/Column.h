// A column that is shown: where it stands in a case, and what its values look like.
//
// Threads: one thread at a time for each object.

#ifndef TOOLS_CASES_COLUMN_H
#define TOOLS_CASES_COLUMN_H

#include <optional>
#include <string>
#include <string_view>

#include "datasrc/Obs.h"
#include "datasrc/QUAV_DataSource.h"
#include "tools/text/ShownText.h"

namespace tool {

// How values are shown, beyond what the form of the output says.
struct ShowOptions {
  bool labels = false;    // a value's label where it has one
  bool raw = false;       // the stored number of dates and times, and of numbers that a table would round
  bool readable = false;  // as a person reads it, not so that it reads back
};

// A value, ready to be written. The text lasts until the next value of a column with the same ShownText.
struct ShownValue {
  enum Kind { kMissing, kNumber, kText };

  Kind kind;
  double number = 0;
  std::string_view text = {};
};

class Column {
 public:
  // `index` is a column of the source. `shownText` outlives this object; columns may share it.
  Column(const QUAV_DataSource& source, int index, const ShowOptions& options, ShownText& shownText);

  const std::string& Name() const { return m_name; }
  bool IsNumber() const { return m_type == 0; }
  // `cells` is the start of the case. A number that has no digits is shown as text.
  ShownValue Show(const OBS* cells);

 private:
  ShownValue ShowNumber(const OBS& cell);
  ShownValue ShowString(const OBS* cells);

  std::string m_name;
  int m_type;
  std::size_t m_firstCell;
  QUAV_Format m_format;
  ShowOptions m_options;
  std::optional<QUAV_ValueLabelMap> m_labels;  // when labels are shown and there are any
  ShownText* m_shownText;
  std::string m_text;  // of the last value, where it had to be formed
};

}  // namespace tool

#endif
