#include "Columns/dictionary/CarriedText.h"

#include "Columns/text/ShownText.h"

namespace dstext {

namespace {

constexpr std::string_view kDateLineStart = "   (Entered ";
constexpr std::size_t kNumberPiece = 41;  // characters of a number in a key

bool IsUtf8(const std::string& encoding) { return QUAVMBqSameCodePage(encoding.c_str(), kUtf8Name); }

}  // namespace

CarriedText::CarriedText(const std::string& from, const std::string& to) {
  if (QUAVMBqSameCodePage(from.c_str(), to.c_str())) return;
  if (!IsUtf8(from)) m_from.reset(QUAVMBConverterNew_A(from.c_str()));
  if (!IsUtf8(to)) m_to.reset(QUAVMBConverterNew_A(to.c_str()));
  m_isNeeded = (m_from || IsUtf8(from)) && (m_to || IsUtf8(to));
  m_keepsAscii =
      (!m_from || QUAVMBConverterKeepsAscii(m_from.get())) && (!m_to || QUAVMBConverterKeepsAscii(m_to.get()));
}

bool CarriedText::Convert(std::string& text) {
  if (!m_isNeeded) return false;
  bool isLost = false;
  if (m_from && QUAVMBCodePageToU8(m_from.get(), text, text) != 0) isLost = true;
  if (m_to && QUAVMBU8ToCodePage(m_to.get(), text, text) != 0) isLost = true;
  return isLost;
}

bool CarriedText::ConvertLine(std::string& line) {
  line = WithoutTrailingBlanks(line);
  const bool isDateLine = IsDateLine(line);
  if (isDateLine && !m_keepsAscii) return false;
  const bool isLost = Convert(line);
  line = WithoutTrailingBlanks(line);
  if (!isDateLine && IsDateLine(line)) line.erase(0, 1);
  return isLost;
}

bool CarriedText::ConvertKey(std::string& key, const std::vector<FileSort::SortKey>& keys) {
  const auto pieces = PiecesOf(key, keys);
  if (!pieces) return Convert(key);
  bool isLost = false;
  key.clear();
  for (std::size_t i = 0; i < keys.size(); ++i) {
    std::string piece = (*pieces)[i];
    if (keys[i].stringLength != 0 && Convert(piece)) isLost = true;
    key += piece;
  }
  return isLost;
}

bool IsDateLine(std::string_view line) { return line.starts_with(kDateLineStart); }

std::optional<std::vector<std::string>> PiecesOf(const std::string& key, const std::vector<FileSort::SortKey>& keys) {
  std::vector<std::string> pieces;
  std::size_t start = 0;
  for (const FileSort::SortKey& one : keys) {
    if (one.stringLength < 0 || start > key.size()) return std::nullopt;
    const bool isNumber = one.stringLength == 0;
    const std::size_t size = isNumber ? kNumberPiece : static_cast<std::size_t>(one.stringLength);
    pieces.push_back(key.substr(start, size));
    if (isNumber && pieces.back().size() != size) return std::nullopt;
    start += size;
  }
  if (start < key.size()) return std::nullopt;
  return pieces;
}

}  // namespace dstext
