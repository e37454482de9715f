// Finds the values that labels stand for.
//
// Threads: any number at once.

#ifndef COLUMNS_ARROWIN_TEXTLABELS_H
#define COLUMNS_ARROWIN_TEXTLABELS_H

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "datasrc/Obs.h"
#include "datasrc/QUAV_Variable.h"

namespace arrowin {

class TextLabels {
 public:
  // Takes the labels of the variable, whose text is UTF-8.
  explicit TextLabels(const QUAV_Variable& variable);

  bool IsEmpty() const { return m_values.empty(); }

  struct Value {
    OBS number = kSystemMissingCell;  // of a numeric variable
    std::string text = {};            // of a text variable, without trailing blanks
    bool isShared = false;            // several values have the label
  };
  // Returns the value of a label, or null. Trailing blanks do not count.
  const Value* Find(std::string_view label) const;

 private:
  std::map<std::string, Value, std::less<>> m_values;
};

}  // namespace arrowin

#endif
