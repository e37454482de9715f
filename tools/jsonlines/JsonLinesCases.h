// Reads the cases of JSON lines: a list for each case, with the values of all variables in the order of the dictionary, or
// an object with the values by the names of variables. A variable that an object does not name has no value.
//
// A number is a JSON number. A date or time may also be its ISO text, and a number without digits is its name ("NaN").
// Text is a JSON string. null is system-missing or blanks.
//
// With several threads, they fill the cases of blocks of the input (LineBlocks), ahead of the caller. Cases and errors are
// the same.
//
// Threads: one thread at a time.

#ifndef TOOLS_JSONLINES_JSONLINESCASES_H
#define TOOLS_JSONLINES_JSONLINESCASES_H

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Columns/cells/CellFiller.h"
#include "tools/cases/CaseReader.h"
#include "tools/cases/TextRules.h"
#include "tools/files/InputBytes.h"
#include "tools/jsonlines/LineBlocks.h"
#include "tools/jsonlines/LineReader.h"
#include "tools/threads/BlockWork.h"

namespace tool {

enum class JsonForm { lists, objects };

class JsonLinesCases final : public CaseReader {
 public:
  // The dictionary outlives this object.
  JsonLinesCases(std::unique_ptr<InputBytes> input, JsonForm form, const QUAV_DataSource& dictionary,
                 const TextRules& rules, const BlockWork& work = {});
  // For objects with these names, which need not be those of the variables: one for each, in their order. Upper and lower
  // case matter.
  JsonLinesCases(std::unique_ptr<InputBytes> input, const std::vector<std::string>& names,
                 const QUAV_DataSource& dictionary, const TextRules& rules, const BlockWork& work = {});
  ~JsonLinesCases() override;

  bool Next() override;
  const OBS* Cells() const override { return m_cells.data(); }

 private:
  // Receives the values of a line as they are parsed.
  class LineHandler;
  class ListHandler;
  class ObjectHandler;
  class Filler;
  class CaseBlock;

  std::unique_ptr<Filler> MakeFiller() const;
  bool NextOfBlocks();

  std::unique_ptr<InputBytes> m_input;
  LineReader m_lines;
  BlockWork m_work;
  const QUAV_DataSource& m_dictionary;
  TextRules m_rules;
  JsonForm m_form;
  bool m_isExact = false;                                  // whether upper and lower case of names matter
  std::unordered_map<std::string, std::size_t> m_columns;  // keyed by the name, else in upper case; only for objects
  std::unique_ptr<Filler> m_filler;
  std::vector<OBS> m_cells;
  CaseBlock* m_block = nullptr;        // whose cases are being delivered
  std::optional<LineBlocks> m_blocks;  // destroyed first
};

}  // namespace tool

#endif
