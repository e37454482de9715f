#include "Columns/cells/CellFiller.h"

#include <algorithm>
#include <optional>

#include "Columns/text/IsoReader.h"
#include "Columns/text/ShownText.h"

namespace dstext {

namespace {

constexpr char kNotANumber[] = "is not a number";
constexpr char kNotATime[] = "is neither a number nor a date or time of the column's kind";
constexpr char kTooManyDigits[] = "has more digits than a number can hold";
constexpr char kTooFine[] = "has a finer fraction of a second than a date or time can hold";
constexpr char kReserved[] = "is the number that stands for a missing value";
constexpr char kTooLong[] = "is too long for the column";
constexpr char kZeroByte[] = "contains a zero byte, which a column this wide cannot store";
constexpr char kNotInEncoding[] = "contains characters that do not exist in the encoding of the file";

// Returns whether the text has the same bytes in all encodings with ASCII letters: not all have the control characters in
// the same places.
bool IsPlain(std::string_view text) {
  constexpr char kLastControl = 0x7F;
  return IsAscii(text) && std::ranges::none_of(text, [](char c) { return c < ' ' || c == kLastControl; });
}

constexpr std::size_t kWidestOneSegment = 255;  // wider strings are stored in segments that are padded with zero bytes

}  // namespace

CellFiller::CellFiller(const QUAV_DataSource& dictionary, int column, const FillRules& rules)
    : m_name(dictionary.GetVariable(column).GetName()),
      m_type(dictionary.GetVariable(column).GetType()),
      m_firstCell(static_cast<std::size_t>(dictionary.ObsIndex(column))),
      m_time(Time::none),
      m_rules(rules),
      m_keepsAscii(!rules.converter || QUAVMBConverterKeepsAscii(rules.converter.get())),
      m_blank(BlankOf(rules.converter.get())) {
  const FormatType format = dictionary.GetVariable(column).GetFormat().Type();
  if (IsDateFormat(format) || format == kFormatDateTime) {
    m_time = Time::dates;
  } else if (IsTimeFormat(format)) {
    m_time = Time::times;
  }
}

void CellFiller::StoreNothing(OBS* cells) const {
  if (IsNumber()) {
    cells[m_firstCell] = kSystemMissingCell;
  } else {
    Pad(cells, 0);
  }
}

const char* CellFiller::StoreNumber(double number, OBS* cells) const {
  cells[m_firstCell] = NumberCell(number);
  return cells[m_firstCell] == kSystemMissingCell ? kReserved : nullptr;
}

const char* CellFiller::StoreText(std::string_view text, OBS* cells) const {
  std::string converted;
  text = WithoutTrailingBlanks(text);
  if (m_rules.converter && !(m_keepsAscii && IsPlain(text))) {
    if (QUAVMBU8ToCodePage(m_rules.converter.get(), converted, std::string(text)) != 0) return kNotInEncoding;
    text = converted;
  }
  const auto width = static_cast<std::size_t>(m_type);
  if (text.size() > width) return kTooLong;
  if (width > kWidestOneSegment && text.find('\0') != std::string_view::npos) return kZeroByte;
  std::ranges::copy(text, CellText(cells + m_firstCell));
  Pad(cells, text.size());
  return nullptr;
}

// The bytes of the last cell after the string are always byte 32.
void CellFiller::Pad(OBS* cells, std::size_t length) const {
  char* const field = CellText(cells + m_firstCell);
  std::fill(field + length, field + m_type, m_blank);
  std::fill(field + m_type, field + FieldSize(m_type), ' ');
}

const char* CellFiller::StoreNumberText(std::string_view text, OBS* cells) const {
  NumberSyntax syntax;
  if (!ParseNumber(text, syntax)) return StoreTime(text, cells);
  const std::optional<double> number = NumberValue(text, syntax);
  if (!number) return kTooManyDigits;
  if (const char* const trouble = StoreNumber(*number, cells)) return trouble;
  return m_rules.digitsAreKept || ComesBack(text, syntax) ? nullptr : kTooManyDigits;
}

const char* CellFiller::StoreTime(std::string_view text, OBS* cells) const {
  if (const auto number = NumberOfName(text)) return StoreNumber(*number, cells);
  if (m_time == Time::none) return kNotANumber;
  const IsoValue time = ReadIsoText(text);
  const bool isTime = time.kind == IsoKind::time;
  if (time.kind == IsoKind::none || isTime != (m_time == Time::times)) return kNotATime;
  if (!time.comesBack) return kTooFine;
  return StoreNumber(time.value, cells);
}

std::vector<CellFiller> CellFillers(const QUAV_DataSource& dictionary, const FillRules& rules) {
  std::vector<CellFiller> fillers;
  fillers.reserve(dictionary.ColumnCount());
  for (int column = 0; column < static_cast<int>(dictionary.ColumnCount()); ++column)
    fillers.emplace_back(dictionary, column, rules);
  return fillers;
}

}  // namespace dstext
