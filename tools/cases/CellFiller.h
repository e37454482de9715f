// Fills the cells of one column from values that come as text or as numbers.
//
// What cannot be stored without a change is refused: the operations answer what is wrong with the value, in words that
// follow it ("is no number"), or null when it is stored.
//
// Threads: any number at once.

#ifndef TOOLS_CASES_CELLFILLER_H
#define TOOLS_CASES_CELLFILLER_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "datasrc/Obs.h"
#include "datasrc/QUAV_DataSource.h"
#include "tools/text/NumberSyntax.h"

namespace tool {

// What is known of the values.
struct FillRules {
  bool digitsAreKept = false;                       // that no number loses digits was found out when columns were typed
  std::shared_ptr<QUAVMBConverter> converter = {};  // to the encoding that text is stored in; null for UTF-8
};

class CellFiller {
 public:
  CellFiller(const QUAV_DataSource& dictionary, int column, const FillRules& rules);

  const std::string& Name() const { return m_name; }
  bool IsNumber() const { return m_type == 0; }

  // `cells` is the start of the case; the text is valid UTF-8.

  // System-missing, or blanks.
  void StoreNothing(OBS* cells) const;
  const char* StoreNumber(double number, OBS* cells) const;
  // A value of a column of text.
  const char* StoreText(std::string_view text, OBS* cells) const;
  // A value of a column of numbers: digits, ISO text for a format of dates or times, or a name such as "NaN".
  const char* StoreNumberText(std::string_view text, OBS* cells) const;
  // Either, as the column is. The empty text is nothing.
  const char* Store(std::string_view text, OBS* cells) const {
    if (!IsNumber()) return StoreText(text, cells);
    if (std::uint64_t whole = 0; ParseShortWhole(text, whole)) {
      cells[m_firstCell] = NumberCell(static_cast<double>(whole));
      return nullptr;
    }
    if (!text.empty()) return StoreNumberText(text, cells);
    cells[m_firstCell] = kSystemMissingCell;
    return nullptr;
  }

 private:
  enum class Time { none, dates, times };

  const char* StoreTime(std::string_view text, OBS* cells) const;

  std::string m_name;
  int m_type;
  std::size_t m_firstCell;
  Time m_time;  // what ISO text the column takes
  FillRules m_rules;
};

// Those of all columns.
std::vector<CellFiller> CellFillers(const QUAV_DataSource& dictionary, const FillRules& rules);

}  // namespace tool

#endif
