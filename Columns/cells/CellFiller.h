// Fills the cells of one column from values that come as text or as numbers.
//
// A value that cannot be stored unchanged is refused. The functions then return what is wrong, in words that follow the
// value ("is not a number"); they return null when the value is stored.
//
// Threads: any number at once.

#ifndef COLUMNS_CELLS_CELLFILLER_H
#define COLUMNS_CELLS_CELLFILLER_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Columns/text/NumberSyntax.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/Obs.h"
#include "datasrc/QUAV_DataSource.h"

namespace dstext {

// Facts about the values.
struct FillRules {
  bool digitsAreKept = false;                       // the typing of the columns has checked that no number loses digits
  std::shared_ptr<QUAVMBConverter> converter = {};  // converts to the encoding of the stored text; null for UTF-8
};

class CellFiller {
 public:
  CellFiller(const QUAV_DataSource& dictionary, int column, const FillRules& rules);

  const std::string& Name() const { return m_name; }
  bool IsNumber() const { return m_type == 0; }

  // In the functions below `cells` points to the first cell of the case, and `text` is valid UTF-8.

  // Stores system-missing or blanks.
  void StoreNothing(OBS* cells) const;
  const char* StoreNumber(double number, OBS* cells) const;
  // Stores a value of a string column.
  const char* StoreText(std::string_view text, OBS* cells) const;
  // Stores a value of a numeric column: digits, ISO text for a date or time format, or a name such as "NaN".
  const char* StoreNumberText(std::string_view text, OBS* cells) const;
  // Stores a value as the type of the column requires. An empty text is a missing value.
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
  // Fills the string from its byte `length` on with blanks.
  void Pad(OBS* cells, std::size_t length) const;

  std::string m_name;
  int m_type;
  std::size_t m_firstCell;
  Time m_time;  // the kind of ISO text that the column accepts
  FillRules m_rules;
  bool m_keepsAscii;  // of the encoding of the stored text
  char m_blank;       // in that encoding
};

// Returns the fillers of all columns.
std::vector<CellFiller> CellFillers(const QUAV_DataSource& dictionary, const FillRules& rules);

}  // namespace dstext

#endif
