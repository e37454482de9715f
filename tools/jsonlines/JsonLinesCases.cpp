#include "tools/jsonlines/JsonLinesCases.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "Columns/text/NumberSyntax.h"
#include "Platform/text/QUAVMB.h"
#include "tools/messages/LineError.h"
#include "tools/text/TerminalText.h"

namespace tool {

using namespace dstext;

namespace {

constexpr char kNoList[] = "a case must be a list of values";
constexpr char kNoObject[] = "a case must be an object with names and values";
constexpr char kTooManyDigits[] = "has more digits than a number can hold";

// Returns true when the digits come back from a double. Whole numbers need the check too.
bool ComesBack(const std::string& text) {
  NumberSyntax syntax;
  return ParseNumber(text, syntax) && tool::ComesBack(text, syntax);
}

}  // namespace

// Stores the values of a line, in the columns that a derived class finds. The parser continues as long as a function returns true. The first error is kept.
class JsonLinesCases::LineHandler : public nlohmann::json_sax<nlohmann::ordered_json> {
 public:
  LineHandler(const std::vector<CellFiller>& fillers, OBS* cells) : m_fillers(fillers), m_cells(cells) {}

  // Empty when the line is a case.
  const std::string& Trouble() const { return m_trouble; }

  bool null() override {
    if (!Begins()) return false;
    Filler().StoreNothing(m_cells);
    return Ends(nullptr, "");
  }
  bool boolean(bool value) override {
    return Begins() && Ends("cannot be a value of a case", value ? "true" : "false");
  }
  // Only for numbers with a minus, so 0 is -0.
  bool number_integer(number_integer_t value) override {
    return value == 0 ? Number(-0.0, "-0") : Number(static_cast<double>(value), std::to_string(value));
  }
  bool number_unsigned(number_unsigned_t value) override {
    return Number(static_cast<double>(value), std::to_string(value));
  }
  bool number_float(number_float_t value, const string_t& text) override { return Number(value, text); }
  bool string(string_t& text) override {
    if (!Begins()) return false;
    return Ends(Filler().IsNumber() ? NumberText(text) : Filler().StoreText(text, m_cells), text);
  }
  bool binary(binary_t&) override { return Stop(kNoList); }
  bool parse_error(std::size_t position, const std::string&, const nlohmann::detail::exception& error) override {
    return m_trouble.empty() && Stop(ParseTrouble(position, error));
  }

 protected:
  // Returns true when a value may occur here. Otherwise stops.
  virtual bool Begins() = 0;
  // Goes to the place of the next value.
  virtual void GoOn() = 0;

  const std::vector<CellFiller>& Fillers() const { return m_fillers; }
  void SetColumn(std::size_t column) { m_column = column; }
  // Stops at a list or an object that stands for a value.
  bool StopAtNested(const char* what) { return Begins() && Stop("the value of " + Filler().Name() + " is " + what); }
  void StoreNothing() {
    for (const CellFiller& filler : m_fillers) filler.StoreNothing(m_cells);
  }
  bool Stop(const std::string& trouble) {
    m_trouble = trouble;
    return false;
  }

 private:
  const CellFiller& Filler() const { return m_fillers[m_column]; }

  bool Ends(const char* trouble, const std::string& text) {
    if (trouble != nullptr) return Stop("the value '" + ShortValue(text) + "' of " + Filler().Name() + " " + trouble);
    GoOn();
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
  std::size_t m_column = 0;
  std::string m_trouble;
};

class JsonLinesCases::ListHandler final : public LineHandler {
 public:
  using LineHandler::LineHandler;

  std::size_t Count() const { return m_count; }

  bool start_array(std::size_t) override {
    if (m_isInList) return StopAtNested("a list");
    m_isInList = true;
    return true;
  }
  bool end_array() override { return true; }
  bool start_object(std::size_t) override { return m_isInList ? StopAtNested("an object") : Stop(kNoList); }
  bool end_object() override { return Stop(kNoList); }
  bool key(string_t&) override { return Stop(kNoList); }

 private:
  bool Begins() override {
    if (!m_isInList) return Stop(kNoList);
    if (m_count < Fillers().size()) return true;
    return Stop("there are more values than the " + std::to_string(Fillers().size()) + " variables of the dictionary");
  }
  void GoOn() override { SetColumn(++m_count); }

  std::size_t m_count = 0;
  bool m_isInList = false;
};

class JsonLinesCases::ObjectHandler final : public LineHandler {
 public:
  ObjectHandler(const std::vector<CellFiller>& fillers, OBS* cells,
                const std::unordered_map<std::string, std::size_t>& columns, bool isExact)
      : LineHandler(fillers, cells), m_columns(columns), m_isExact(isExact), m_isFilled(fillers.size()) {}

  bool start_array(std::size_t) override { return StopAtNested("a list"); }
  bool end_array() override { return Stop(kNoObject); }
  bool start_object(std::size_t) override {
    if (m_isInObject) return StopAtNested("an object");
    m_isInObject = true;
    StoreNothing();
    return true;
  }
  bool end_object() override { return true; }
  bool key(string_t& name) override {
    const auto found = m_columns.find(m_isExact ? name : QUAVMBstrupr_A(name));
    if (found == m_columns.end()) return Stop("the name '" + ShortValue(name) + "' is not that of a variable");
    if (m_isFilled[found->second]) return Stop("the name '" + ShortValue(name) + "' occurs twice");
    m_isFilled[found->second] = true;
    SetColumn(found->second);
    return true;
  }

 private:
  bool Begins() override { return m_isInObject || Stop(kNoObject); }
  void GoOn() override {}

  const std::unordered_map<std::string, std::size_t>& m_columns;
  bool m_isExact;
  std::vector<bool> m_isFilled;
  bool m_isInObject = false;
};

// Fills the cells of a case from a line. One thread at a time uses it, as it does a converter.
class JsonLinesCases::Filler {
 public:
  explicit Filler(const JsonLinesCases& cases)
      : m_cases(cases), m_fillers(CellFillers(cases.m_dictionary, cases.m_rules.ForFillers())) {}

  // Returns what is wrong with the line, or an empty text.
  std::string Fill(std::string_view line, OBS* cells) const {
    if (line.size() > kLongestLine) return kTooLongLine;
    if (m_cases.m_form == JsonForm::objects) {
      ObjectHandler handler(m_fillers, cells, m_cases.m_columns, m_cases.m_isExact);
      return Parse(line, handler);
    }
    ListHandler handler(m_fillers, cells);
    std::string trouble = Parse(line, handler);
    if (trouble.empty() && handler.Count() != m_fillers.size())
      trouble = "there are " + std::to_string(handler.Count()) + " values for the " + std::to_string(m_fillers.size()) +
                " variables of the dictionary";
    return trouble;
  }

 private:
  static std::string Parse(std::string_view line, LineHandler& handler) {
    const bool isParsed = nlohmann::ordered_json::sax_parse(line.data(), line.data() + line.size(), &handler);
    return isParsed ? std::string() : handler.Trouble();
  }

  const JsonLinesCases& m_cases;
  std::vector<CellFiller> m_fillers;
};

// Keeps the cases of a block.
class JsonLinesCases::CaseBlock final : public LineBlock {
 public:
  explicit CaseBlock(const JsonLinesCases& cases)
      : m_filler(cases.MakeFiller()), m_cellsPerCase(cases.m_cells.size()) {}

  // Fills cases until no line is left, a line is wrong, or they take much memory.
  void Work() override {
    m_cells.clear();
    m_next = 0;
    m_trouble.clear();
    m_isDone = true;
    std::string_view line;
    while (NextLine(line)) {
      m_cells.resize(m_cells.size() + m_cellsPerCase);
      m_trouble = m_filler->Fill(line, m_cells.data() + m_cells.size() - m_cellsPerCase);
      if (!m_trouble.empty()) {
        m_cells.resize(m_cells.size() - m_cellsPerCase);
        return;
      }
      m_isDone = m_cells.size() < kMostCells;
      if (!m_isDone) return;
    }
  }

  // Copies the next case. Returns false after the last one that is filled.
  bool Next(OBS* cells) {
    if (m_next == m_cells.size()) return false;
    std::copy_n(m_cells.data() + m_next, m_cellsPerCase, cells);
    m_next += m_cellsPerCase;
    return true;
  }
  // Returns true when Work has nothing left to do.
  bool IsDone() const { return m_isDone; }
  // What is wrong with the line after the cases; empty for nothing.
  const std::string& Trouble() const { return m_trouble; }

 private:
  static constexpr std::size_t kMostCells = 256UL * 1024;  // short lines may make wide cases

  std::unique_ptr<Filler> m_filler;
  std::size_t m_cellsPerCase;
  std::vector<OBS> m_cells;
  std::size_t m_next = 0;  // the first cell that is not delivered
  bool m_isDone = true;
  std::string m_trouble;
};

JsonLinesCases::JsonLinesCases(std::unique_ptr<InputBytes> input, JsonForm form, const QUAV_DataSource& dictionary,
                               const TextRules& rules, const BlockWork& work)
    : m_input(std::move(input)),
      m_lines(*m_input),
      m_work(work),
      m_dictionary(dictionary),
      m_rules(rules),
      m_form(form),
      m_cells(dictionary.GetObsAreaSize()) {
  m_input->ReadOnce();
  m_filler = MakeFiller();
  if (form == JsonForm::lists) return;
  for (int column = 0; column < static_cast<int>(dictionary.ColumnCount()); ++column)
    m_columns.emplace(dictionary.GetVariable(column).GetUpperCaseName(), column);
}

JsonLinesCases::JsonLinesCases(std::unique_ptr<InputBytes> input, const std::vector<std::string>& names,
                               const QUAV_DataSource& dictionary, const TextRules& rules, const BlockWork& work)
    : m_input(std::move(input)),
      m_lines(*m_input),
      m_work(work),
      m_dictionary(dictionary),
      m_rules(rules),
      m_form(JsonForm::objects),
      m_isExact(true),
      m_cells(dictionary.GetObsAreaSize()) {
  m_input->ReadOnce();
  m_filler = MakeFiller();
  for (std::size_t column = 0; column < names.size(); ++column) m_columns.emplace(names[column], column);
}

JsonLinesCases::~JsonLinesCases() = default;

std::unique_ptr<JsonLinesCases::Filler> JsonLinesCases::MakeFiller() const { return std::make_unique<Filler>(*this); }

bool JsonLinesCases::Next() {
  if (m_work.HasThreads()) return NextOfBlocks();
  if (!m_lines.Next()) return false;
  const std::string trouble = m_filler->Fill(m_lines.Text(), m_cells.data());
  if (!trouble.empty()) m_lines.Fail(trouble);
  return true;
}

bool JsonLinesCases::NextOfBlocks() {
  if (!m_blocks) m_blocks.emplace(*m_input, m_work, [this] { return std::make_unique<CaseBlock>(*this); });
  while (m_block == nullptr || !m_block->Next(m_cells.data())) {
    if (m_block != nullptr && !m_block->Trouble().empty())
      throw LineError(m_block->Trouble(), m_blocks->LinesBefore() + m_block->Number(), m_input->Name());
    if (m_block != nullptr && !m_block->IsDone()) {
      m_block->Work();
      continue;
    }
    m_block = static_cast<CaseBlock*>(m_blocks->Next());
    if (m_block == nullptr) return false;
  }
  return true;
}

}  // namespace tool
