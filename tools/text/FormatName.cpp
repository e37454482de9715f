#include "tools/text/FormatName.h"

#include <algorithm>
#include <array>

namespace tool {

namespace {

struct TypeWord {
  FormatType type;
  const char* word;
};

constexpr std::array kTypeWords{
    TypeWord{kFormatString, "text"},
    TypeWord{kFormatHexString, "hex text"},
    TypeWord{kFormatComma, "comma"},
    TypeWord{kFormatDollar, "dollar"},
    TypeWord{kFormatNumber, "number"},
    TypeWord{kFormatScientific, "scientific"},
    TypeWord{kFormatDate, "date"},
    TypeWord{kFormatTime, "time"},
    TypeWord{kFormatDateTime, "date and time"},
    TypeWord{kFormatMonthFirstDate, "date, month first"},
    TypeWord{kFormatDayOfYear, "day of year"},
    TypeWord{kFormatDaysAndTime, "days and time"},
    TypeWord{kFormatWeekday, "weekday"},
    TypeWord{kFormatMonth, "month"},
    TypeWord{kFormatMonthAndYear, "month and year"},
    TypeWord{kFormatQuarterAndYear, "quarter and year"},
    TypeWord{kFormatWeekAndYear, "week and year"},
    TypeWord{kFormatPercent, "percent"},
    TypeWord{kFormatDot, "dot"},
    TypeWord{kFormatCurrencyA, "currency A"},
    TypeWord{kFormatCurrencyB, "currency B"},
    TypeWord{kFormatCurrencyC, "currency C"},
    TypeWord{kFormatCurrencyD, "currency D"},
    TypeWord{kFormatCurrencyE, "currency E"},
    TypeWord{kFormatDayFirstDate, "date, day first"},
    TypeWord{kFormatYearFirstDate, "date, year first"},
};

std::string Word(FormatType type) {
  const auto* const found = std::ranges::find(kTypeWords, type, &TypeWord::type);
  return found == kTypeWords.end() ? "type " + std::to_string(int{type}) : found->word;
}

}  // namespace

std::string FormatName(QUAV_Format format) {
  std::string name = Word(format.Type()) + " " + std::to_string(format.Width());
  if (format.Decimals() != 0) name += "." + std::to_string(format.Decimals());
  return name;
}

}  // namespace tool
