#include "dictionary/varformat.h"

#include <algorithm>

#include "datasrc/QUAV_Variable.h"

namespace {

constexpr int kMaxNumericWidth = 40;
constexpr int kMaxDecimals = 16;
// A hexadecimal format has two columns for each byte of the string.
constexpr int kHexWidthLimit = 254;            // below this width the format survives a change of type
constexpr int kFirstTypeWithoutHex = 1 << 14;  // from this width on the columns do not fit in 15 bits

constexpr std::uint32_t Byte(std::uint32_t word, int index) { return word >> 8 * index & 0xFF; }

constexpr StoredFormat Word(std::uint32_t byte0, std::uint32_t byte1, FormatType type, std::uint32_t byte3) {
  return byte3 << 24 | static_cast<std::uint32_t>(type) << 16 | byte1 << 8 | byte0;
}

constexpr FormatType TypeOf(StoredFormat stored) { return static_cast<FormatType>(Byte(stored, 2)); }

struct NumericRule {
  int type;
  bool hasDecimals;
  int minimumWidth;
  int reserve;  // columns that the decimals must leave free
};

constexpr NumericRule kNumericRules[] = {
    {kFormatComma, true, 1, 1},         {kFormatDollar, true, 2, 2},
    {kFormatNumber, true, 1, 1},        {kFormatScientific, true, 6, 6},
    {kFormatDate, false, 9, 0},         {kFormatTime, true, 5, 9},
    {kFormatDateTime, true, 17, 21},    {kFormatMonthFirstDate, false, 8, 0},
    {kFormatDayOfYear, false, 5, 0},    {kFormatDaysAndTime, true, 8, 12},
    {kFormatWeekday, false, 2, 0},      {kFormatMonth, false, 3, 0},
    {kFormatMonthAndYear, false, 6, 0}, {kFormatQuarterAndYear, false, 6, 0},
    {kFormatWeekAndYear, false, 8, 0},  {kFormatPercent, true, 2, 2},
    {kFormatDot, true, 1, 1},           {kFormatCurrencyA, true, 1, 1},
    {kFormatCurrencyB, true, 1, 1},     {kFormatCurrencyC, true, 1, 1},
    {kFormatCurrencyD, true, 1, 1},     {kFormatCurrencyE, true, 1, 1},
    {kFormatDayFirstDate, false, 8, 0}, {kFormatYearFirstDate, true, 8, 0},
};

enum FormatFault : std::uint8_t { kFits = 0, kWrongType = 1, kWrongWidth = 2, kWrongDecimals = 3 };

// Remembers the first fault, and corrects each fault when `fix` is set.
class FormatCheck {
 public:
  explicit FormatCheck(bool fix) : m_fix(fix) {}

  FormatFault Answer() const { return m_first; }

  template <class T>
  void Expect(T wanted, T& given, FormatFault fault) {
    if (given == wanted) return;
    if (m_first == kFits) m_first = fault;
    if (m_fix) given = wanted;
  }

 private:
  bool m_fix;
  FormatFault m_first = kFits;
};

int FittingDecimals(const NumericRule& rule, int width, int decimals) {
  if (!rule.hasDecimals || decimals < 0) return 0;
  return std::min({decimals, kMaxDecimals, std::max(width - rule.reserve, 0)});
}

FormatFault ValidateNumeric(FormatType& type, int& width, int& decimals, bool fix) {
  FormatCheck check(fix);
  const auto* rule = std::ranges::find(kNumericRules, static_cast<int>(type), &NumericRule::type);
  if (rule == std::end(kNumericRules)) {
    check.Expect(kDefaultNumericFormat.Type(), type, kWrongType);
    check.Expect(kDefaultNumericFormat.Width(), width, kWrongType);
    check.Expect(kDefaultNumericFormat.Decimals(), decimals, kWrongType);
    return check.Answer();
  }
  const int fittingWidth = std::clamp(width, rule->minimumWidth, kMaxNumericWidth);
  check.Expect(fittingWidth, width, kWrongWidth);
  check.Expect(FittingDecimals(*rule, fittingWidth, decimals), decimals, kWrongDecimals);
  return check.Answer();
}

FormatFault ValidateString(int varType, FormatType& type, int& width, int& decimals, bool fix) {
  FormatCheck check(fix);
  const bool isHex = type == kFormatHexString && varType < kFirstTypeWithoutHex;
  if (type != kFormatString && !isHex) check.Expect(kFormatString, type, kWrongType);
  check.Expect(isHex ? 2 * varType : varType, width, kWrongWidth);
  check.Expect(0, decimals, kWrongDecimals);
  return check.Answer();
}

}  // namespace

StoredFormat QUAV_DefaultFormat(int type) {
  if (type < 0) return 0;
  return ToStoredFormat(type == 0 ? kDefaultNumericFormat : QUAV_Format(kFormatString, type, 0));
}

StoredFormat ToStoredFormat(QUAV_Format format) {
  const auto width = static_cast<std::uint32_t>(format.Width());
  if (format.Type() == kFormatString) return Word(Byte(width, 1), Byte(width, 0), kFormatString, 0);
  return Word(static_cast<std::uint32_t>(format.Decimals()), Byte(width, 0), format.Type(), Byte(width, 1));
}

QUAV_Format FromStoredFormat(StoredFormat stored) {
  const FormatType type = TypeOf(stored);
  const auto byte0 = static_cast<int>(Byte(stored, 0));
  const auto lowWidth = static_cast<int>(Byte(stored, 1));
  if (type == kFormatString) return {type, byte0 * 256 + lowWidth, 0};
  return {type, CutFormatWidth(type, lowWidth), byte0};
}

StoredFormat FormatForNewType(StoredFormat stored, int newType) {
  const int hexWidth = 2 * newType;
  if (newType <= 0 || TypeOf(stored) != kFormatHexString || hexWidth >= kHexWidthLimit) {
    return QUAV_DefaultFormat(newType);
  }
  return Word(Byte(stored, 0), static_cast<std::uint32_t>(hexWidth), kFormatHexString, 0);
}

int CutFormatWidth(FormatType type, int width) {
  return IsStringFormat(type) ? width : std::min(width, kMaxNumericWidth);
}

int QUAV_Variable::ValidateFormat(int varType, FormatType& type, int& width, int& decimals, bool fix) {
  if (varType < 0) return kFits;
  if (varType == 0) return ValidateNumeric(type, width, decimals, fix);
  return ValidateString(varType, type, width, decimals, fix);
}

int QUAV_Variable::GetImageIndex(FormatType type, MeasurementLevel level) {
  struct Icons {
    int level1, level2, otherLevel;
  };
  const Icons icons = IsDateFormat(type)      ? Icons{7, 6, 5}
                      : IsTimeFormat(type)    ? Icons{10, 9, 8}
                      : type == kFormatString ? Icons{4, 3, 4}
                                              : Icons{2, 1, 0};
  return level == 1 ? icons.level1 : level == 2 ? icons.level2 : icons.otherLevel;
}
