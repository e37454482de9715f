// A dictionary as text, to compare what two ways of reading make of a file.

#ifndef TESTS_PROPERTY_TOOL_DICTIONARYTEXT_H
#define TESTS_PROPERTY_TOOL_DICTIONARYTEXT_H

#include <string>

#include "datasrc/QUAV_DataSource.h"

// Returns a line for each variable: its name, type and format.
inline std::string DictionaryText(const QUAV_DataSource& source) {
  std::string text;
  for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column) {
    const QUAV_Variable& variable = source.GetVariable(column);
    const QUAV_Format format = variable.GetFormat();
    text += std::string(variable.GetName()) + " " + std::to_string(variable.GetType()) + " " +
            std::to_string(format.Type()) + " " + std::to_string(format.Width()) + " " +
            std::to_string(format.Decimals()) + "\n";
  }
  return text;
}

#endif
