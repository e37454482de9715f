// A column that is shown: its position in a case and the form of its values.
//
// Threads: one thread at a time for each object.

#ifndef TOOLS_CASES_COLUMN_H
#define TOOLS_CASES_COLUMN_H

#include <optional>
#include <string>
#include <string_view>

#include "Columns/text/ShownText.h"
#include "datasrc/Obs.h"
#include "datasrc/QUAV_DataSource.h"

namespace tool {

// How values are shown, in addition to the form of the output.
struct ShowOptions {
  bool labels = false;    // show the label of a value that has one
  bool raw = false;       // show the stored number of a date or time, and of a number that a table would round
  bool readable = false;  // show values for people; they need not read back
};

// A value, ready to be written. The text is valid until the next value of a column with the same ShownText.
struct ShownValue {
  enum Kind { kMissing, kNumber, kText };

  Kind kind;
  double number = 0;
  std::string_view text = {};
};

class Column {
 public:
  // `index` is a column of the source. `shownText` outlives this object; columns may share it.
  Column(const QUAV_DataSource& source, int index, const ShowOptions& options, dstext::ShownText& shownText);

  const std::string& Name() const { return m_name; }
  bool IsNumber() const { return m_type == 0; }
  // `cells` points to the first cell of the case. A number that is not finite is shown as text.
  ShownValue Show(const OBS* cells);

 private:
  ShownValue ShowNumber(const OBS& cell);
  ShownValue ShowString(const OBS* cells);

  std::string m_name;
  int m_type;
  std::size_t m_firstCell;
  QUAV_Format m_format;
  ShowOptions m_options;
  std::optional<QUAV_ValueLabelMap> m_labels;  // set when labels are shown and exist
  dstext::ShownText* m_shownText;
  std::string m_text;  // the text of the last value, when it had to be formatted
};

}  // namespace tool

#endif
