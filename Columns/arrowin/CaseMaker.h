// Makes cases of rows that arrived.
//
// Threads: one thread at a time.

#ifndef COLUMNS_ARROWIN_CASEMAKER_H
#define COLUMNS_ARROWIN_CASEMAKER_H

#include <cstddef>
#include <string>
#include <vector>

#include "Columns/arrowin/ArrivedRows.h"
#include "Columns/cells/CellFiller.h"
#include "datasrc/Obs.h"
#include "datasrc/QUAV_DataSource.h"

namespace arrowin {

class CaseMaker {
 public:
  // Column k of the rows goes to column targets[k] of the dictionary. `names` are those of the columns, for messages.
  CaseMaker(const QUAV_DataSource& dictionary, const std::vector<int>& targets, std::vector<std::string> names,
            const dstext::FillRules& rules);

  // Takes rows, which stay as they are until the next call.
  void Begin(const ArrivedRows& rows);
  // Returns the case of the next row, valid until the next call; null after the last. Throws ArrowImportError for a text
  // that does not fit into its variable.
  const OBS* Next();

 private:
  struct Column {
    dstext::CellFiller filler;
    std::size_t cell;  // of a number
    std::size_t textEnd = 0;
  };

  void FillText(std::size_t column);

  std::vector<std::string> m_names;
  std::vector<Column> m_columns;
  std::vector<OBS> m_case;
  const ArrivedRows* m_rows = nullptr;
  int m_row = 0;  // the next one of m_rows
};

}  // namespace arrowin

#endif
