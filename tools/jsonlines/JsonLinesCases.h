// Reads the cases of JSON lines: a list for each case, with the values of all variables in the order of the dictionary, or
// an object with the values by the names of variables. A variable that an object does not name has no value.
//
// A number is a JSON number. A date or time may also be its ISO text, and a number without digits is its name ("NaN").
// Text is a JSON string. null is system-missing or blanks.
//
// Threads: one thread at a time.

#ifndef TOOLS_JSONLINES_JSONLINESCASES_H
#define TOOLS_JSONLINES_JSONLINESCASES_H

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Columns/cells/CellFiller.h"
#include "tools/cases/CaseReader.h"
#include "tools/files/InputBytes.h"
#include "tools/files/InputWindow.h"

namespace tool {

enum class JsonForm { lists, objects };

class JsonLinesCases final : public CaseReader {
 public:
  JsonLinesCases(std::unique_ptr<InputBytes> input, JsonForm form, const QUAV_DataSource& dictionary,
                 const dstext::FillRules& rules);

  bool Next() override;
  const OBS* Cells() const override { return m_cells.data(); }

 private:
  // Receives the values of a line as they are parsed.
  class LineHandler;
  class ListHandler;
  class ObjectHandler;

  bool NextLine();
  [[noreturn]] void Fail(const std::string& text) const;

  std::unique_ptr<InputBytes> m_input;
  InputWindow m_window;
  std::vector<dstext::CellFiller> m_fillers;
  std::vector<OBS> m_cells;
  JsonForm m_form;
  std::unordered_map<std::string, std::size_t> m_columns;  // keyed by the name in upper case; only for objects
  std::string_view m_text;                                 // the present line, without its line break
  std::size_t m_lineSize = 0;                              // bytes of the line with its line break
  long long m_line = 0;                                    // the number of the line, from 1
};

}  // namespace tool

#endif
