// The file header. Format: docs/system-file.md, "Header".

#include <array>
#include <cstring>
#include <string>
#include <string_view>

#include "core/TrailingBlanks.h"
#include "core/systemfileformat.h"
#include "datasrc/Calendar.h"
#include "systemfile/ByteCursor.h"
#include "systemfile/DictionaryReader.h"

namespace {

constexpr std::string_view kMonths = "jan feb mar apr may jun jul aug sep oct nov dec ";

// Returns 1 to 12; 13 when the letters are not a month.
long MonthNumber(std::string_view letters) {
  std::string lower(letters);
  for (char& c : lower)
    if ('A' <= c && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  for (long month = 1; month <= 12; ++month)
    if (kMonths.substr(static_cast<std::size_t>(month - 1) * 4, 3) == lower) return month;
  return 13;
}

// Takes any two characters for digits.
long TwoDigits(std::string_view text, std::size_t at) { return (text[at] - '0') * 10 + (text[at + 1] - '0'); }

// Returns "14 Mar 24" and "10:20:30" as a date-time value; 0.0 when they are not valid. Years from 70 on are 19xx.
double HeaderTimestamp(std::string_view date, std::string_view time) {
  long year = 1900 + TwoDigits(date, 7);
  if (year <= 1969) year += 100;
  double timestamp = 0.0;
  iDMY2Quav(TwoDigits(date, 0), MonthNumber(date.substr(3, 3)), year, TwoDigits(time, 0), TwoDigits(time, 3),
            static_cast<double>(TwoDigits(time, 6)), &timestamp);
  return timestamp;
}

}  // namespace

void DictionaryReader::ReadHeader() {
  std::array<std::byte, kHeaderSize - kMagicSize> block;
  ReadWhole(block.data(), block.size(), "nRead == len1");
  ByteCursor in(block, ByteOrder::native);

  m_options.eyeCatcher = WithoutTrailingBlanks(in.Text(kEyeCatcherSize));
  m_options.layoutCode = in.I32();
  m_options.reversed = m_options.layoutCode < 1 || m_options.layoutCode > kMaxLayoutCode;
  if (m_options.reversed) m_options.layoutCode = Turned(m_options.layoutCode);
  in.SetOrder(m_options.Order());
  m_nominalCaseSize = in.I32();  // this number may be wrong: the size follows from the variables
  m_options.compression = in.I32();
  m_options.weightIndex = in.I32();
  m_options.numberOfCases = in.I32();
  m_options.bias = in.Double();
  const std::string_view date = in.Text(kCreationDateSize);
  const std::string_view time = in.Text(kCreationTimeSize);
  const std::string label(WithoutTrailingBlanks(in.Text(kFileLabelSize)));

  m_source.SetLabel(label.c_str());
  const double timestamp = HeaderTimestamp(date, time);
  if (timestamp != 0.0)
    m_source.SetTimestamp(timestamp);
  else
    NoteFlawAt(kCreationDateOffset, "the date of creation is not valid");
}
