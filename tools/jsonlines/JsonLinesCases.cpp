#include "tools/jsonlines/JsonLinesCases.h"

#include <cstring>
#include <nlohmann/json.hpp>

#include "Columns/text/NumberSyntax.h"
#include "tools/messages/ToolError.h"
#include "tools/text/TerminalText.h"

namespace tool {

using namespace dstext;

namespace {

constexpr char kNoList[] = "a case must be a list of values";
constexpr char kTooManyDigits[] = "has more digits than a number can hold";
constexpr std::size_t kLongestLine = std::size_t{1} << 30;  // in bytes; longer than the largest possible case

// Returns true when the digits come back from a double. Whole numbers need the check too.
bool ComesBack(const std::string& text) {
  NumberSyntax syntax;
  return ParseNumber(text, syntax) && tool::ComesBack(text, syntax);
}

}  // namespace

// Stores the values of a line. The parser continues as long as a function returns true. The first error is kept.
class JsonLinesCases::LineHandler final : public nlohmann::json_sax<nlohmann::ordered_json> {
 public:
  LineHandler(const std::vector<CellFiller>& fillers, OBS* cells) : m_fillers(fillers), m_cells(cells) {}

  // Empty when the line is a case.
  const std::string& Trouble() const { return m_trouble; }
  std::size_t Count() const { return m_count; }

  bool null() override {
    if (!Begins()) return false;
    Filler().StoreNothing(m_cells);
    return Ends(nullptr, "");
  }
  bool boolean(bool value) override {
    return Begins() && Ends("cannot be a value of a case", value ? "true" : "false");
  }
  bool number_integer(number_integer_t value) override {
    return Number(static_cast<double>(value), std::to_string(value));
  }
  bool number_unsigned(number_unsigned_t value) override {
    return Number(static_cast<double>(value), std::to_string(value));
  }
  bool number_float(number_float_t value, const string_t& text) override { return Number(value, text); }
  bool string(string_t& text) override {
    if (!Begins()) return false;
    return Ends(Filler().IsNumber() ? NumberText(text) : Filler().StoreText(text, m_cells), text);
  }
  bool start_array(std::size_t) override {
    if (m_depth++ != 0) return Stop(kNoList);
    return true;
  }
  bool end_array() override { return true; }
  bool start_object(std::size_t) override { return Stop(kNoList); }
  bool end_object() override { return Stop(kNoList); }
  bool key(string_t&) override { return Stop(kNoList); }
  bool binary(binary_t&) override { return Stop(kNoList); }
  bool parse_error(std::size_t position, const std::string&, const nlohmann::detail::exception&) override {
    if (!m_trouble.empty()) return false;
    return Stop("this is not valid JSON from character " + std::to_string(position) + " on");
  }

 private:
  const CellFiller& Filler() const { return m_fillers[m_count]; }

  bool Stop(const std::string& trouble) {
    m_trouble = trouble;
    return false;
  }
  // Returns true when a value may occur here.
  bool Begins() {
    if (m_depth == 0) return Stop(kNoList);
    if (m_count < m_fillers.size()) return true;
    return Stop("there are more values than the " + std::to_string(m_fillers.size()) + " variables of the dictionary");
  }
  bool Ends(const char* trouble, const std::string& text) {
    if (trouble != nullptr) return Stop("the value '" + ShortValue(text) + "' of " + Filler().Name() + " " + trouble);
    ++m_count;
    return true;
  }
  // In a numeric column, text is only for dates, times and numbers without digits.
  const char* NumberText(const std::string& text) const {
    NumberSyntax syntax;
    return ParseNumber(text, syntax) ? "is text where a number is expected" : Filler().StoreNumberText(text, m_cells);
  }
  bool Number(double value, const std::string& text) {
    if (!Begins()) return false;
    if (!Filler().IsNumber()) return Ends("is a number where text is expected", text);
    const char* const trouble = Filler().StoreNumber(value, m_cells);
    return Ends(trouble != nullptr || ComesBack(text) ? trouble : kTooManyDigits, text);
  }

  const std::vector<CellFiller>& m_fillers;
  OBS* m_cells;
  std::size_t m_count = 0;
  int m_depth = 0;
  std::string m_trouble;
};

JsonLinesCases::JsonLinesCases(std::unique_ptr<InputBytes> input, const QUAV_DataSource& dictionary,
                               const FillRules& rules)
    : m_input(std::move(input)),
      m_window(*m_input),
      m_fillers(CellFillers(dictionary, rules)),
      m_cells(dictionary.GetObsAreaSize()) {
  m_input->ReadOnce();
}

bool JsonLinesCases::Next() {
  if (!NextLine()) return false;
  LineHandler handler(m_fillers, m_cells.data());
  const bool isParsed = nlohmann::ordered_json::sax_parse(m_text.data(), m_text.data() + m_text.size(), &handler);
  if (!isParsed) Fail(handler.Trouble());
  if (handler.Count() != m_fillers.size())
    Fail("there are " + std::to_string(handler.Count()) + " values for the " + std::to_string(m_fillers.size()) +
         " variables of the dictionary");
  return true;
}

bool JsonLinesCases::NextLine() {
  m_window.Skip(m_lineSize);
  ++m_line;
  std::size_t looked = 0;
  for (;;) {
    const auto size = static_cast<std::size_t>(m_window.End() - m_window.Begin());
    const auto* const end = static_cast<const char*>(std::memchr(m_window.Begin() + looked, '\n', size - looked));
    if (end != nullptr) {
      m_text = {m_window.Begin(), end};
      m_lineSize = m_text.size() + 1;
      return true;
    }
    looked = size;
    if (size > kLongestLine) Fail("the line is longer than any case can be");
    if (m_window.Grow()) continue;
    m_text = {m_window.Begin(), size};
    m_lineSize = size;
    return size != 0;
  }
}

void JsonLinesCases::Fail(const std::string& text) const {
  throw ToolError(text + " (at line " + std::to_string(m_line) + ")", m_input->Name());
}

}  // namespace tool
