#include "tools/jsonlines/JsonLinesDictionary.h"

#include <unistd.h>

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>
#include <unordered_map>

#include "Columns/text/NumberSyntax.h"
#include "Columns/text/NumberText.h"
#include "tools/csv/ColumnTyper.h"
#include "tools/csv/CsvDictionary.h"
#include "tools/csv/CsvNames.h"
#include "tools/jsonlines/LineBlocks.h"
#include "tools/jsonlines/LineReader.h"
#include "tools/messages/LineError.h"
#include "tools/messages/Progress.h"
#include "tools/messages/Report.h"
#include "tools/messages/ToolError.h"
#include "tools/text/TerminalText.h"

namespace tool {

using namespace dstext;

namespace {

struct Place {
  const InputBytes* input;
  long long line;
};

// The values of a member of all objects.
class Member {
 public:
  Member(std::string name, ColumnTyper::Values values)
      : m_name(std::move(name)), m_numbers('.', values), m_texts('.', values) {}

  const std::string& Name() const { return m_name; }

  // Return what is wrong with a value, or an empty text.
  std::string LookAtNumber(const std::string& text, const Place& place) {
    if (m_textPlace) return Mixed("a number", "text", *m_textPlace, place);
    if (!m_numberPlace) m_numberPlace = place;
    NumberSyntax syntax;
    if (!ParseNumber(text, syntax) || !tool::ComesBack(text, syntax))
      return "the value '" + ShortValue(text) + "' of " + m_name + " has more digits than a number can hold";
    m_numbers.Look(text);
    return {};
  }
  std::string LookAtText(const std::string& text, const Place& place) {
    m_widest = std::max(m_widest, text.size());
    // A number may be a name such as "NaN". Text may, too.
    if (NumberOfName(text)) {
      m_hasNames = true;
      return {};
    }
    if (m_numberPlace) return Mixed("text", "a number", *m_numberPlace, place);
    if (!m_textPlace) m_textPlace = place;
    NumberSyntax syntax;
    m_isPlain = m_isPlain || text.empty() || ParseNumber(text, syntax);
    m_texts.Look(text);
    return {};
  }

  // Returns whether a part of the values, looked at by itself, has what does not go with the others.
  bool IsMixedWith(const Member& part) const {
    return (m_textPlace && part.m_numberPlace) || (m_numberPlace && part.m_textPlace);
  }
  // Has the result of looking at all values of a part, before which there are so many lines.
  void LookAtAll(const Member& part, long long linesBefore) {
    if (!m_numberPlace) m_numberPlace = After(part.m_numberPlace, linesBefore);
    if (!m_textPlace) m_textPlace = After(part.m_textPlace, linesBefore);
    m_numbers.LookAtAll(part.m_numbers);
    m_texts.LookAtAll(part.m_texts);
    m_widest = std::max(m_widest, part.m_widest);
    m_hasNames = m_hasNames || part.m_hasNames;
    m_isPlain = m_isPlain || part.m_isPlain;
  }

  ColumnType Type() const {
    if (m_numberPlace || (!m_textPlace && !m_hasNames)) return m_numbers.Type();
    // Digits in quotes are meant to be text.
    if (m_isPlain || m_hasNames) return {.width = std::max<std::size_t>(m_widest, 1)};
    return m_texts.Type();
  }

 private:
  static std::optional<Place> After(std::optional<Place> place, long long lines) {
    if (place) place->line += lines;
    return place;
  }
  std::string Mixed(const std::string& here, const std::string& there, const Place& earlier, const Place& place) const {
    return "the value of " + m_name + " is " + here + ", but " + there + " at line " + std::to_string(earlier.line) +
           (earlier.input == place.input ? "" : " of " + earlier.input->Name());
  }

  std::string m_name;
  ColumnTyper m_numbers;
  ColumnTyper m_texts;
  std::optional<Place> m_numberPlace;  // of the first number
  std::optional<Place> m_textPlace;    // of the first text
  std::size_t m_widest = 0;            // bytes of a text
  bool m_hasNames = false;
  bool m_isPlain = false;  // there is a text that is no date or time
};

class Members {
 public:
  explicit Members(ColumnTyper::Values values = ColumnTyper::Values::all) : m_values(values) {}

  // Returns the place of the member, or nothing when there are too many.
  std::optional<std::size_t> Find(const std::string& name) {
    const auto found = m_places.find(name);
    if (found != m_places.end()) return found->second;
    if (m_members.size() == kMostMembers) return std::nullopt;
    m_places.emplace(name, m_members.size());
    m_members.emplace_back(name, m_values);
    return m_members.size() - 1;
  }
  // Has the result of looking at all values of a part, before which there are so many lines. Returns false, and has looked
  // at nothing, when they do not go together.
  bool LookAtAll(const Members& part, long long linesBefore) {
    std::size_t count = m_members.size();
    for (const Member& member : part.m_members) {
      const auto found = m_places.find(member.Name());
      if (found == m_places.end()) ++count;
      if (count > kMostMembers || (found != m_places.end() && m_members[found->second].IsMixedWith(member)))
        return false;
    }
    for (const Member& member : part.m_members) m_members[*Find(member.Name())].LookAtAll(member, linesBefore);
    return true;
  }
  Member& operator[](std::size_t place) { return m_members[place]; }
  const std::vector<Member>& All() const { return m_members; }

 private:
  ColumnTyper::Values m_values;
  std::vector<Member> m_members;
  std::unordered_map<std::string, std::size_t> m_places;
};

// Looks at the values of a line. The parser continues as long as a function returns true. The first error is kept.
class Looker final : public nlohmann::json_sax<nlohmann::ordered_json> {
 public:
  Looker(Members& members, const Place& line) : m_members(members), m_line(line) {}

  // Empty when the line is a case.
  const std::string& Trouble() const { return m_trouble; }

  bool null() override { return m_isInObject || Stop(kNoObject); }
  bool boolean(bool value) override {
    if (!m_isInObject) return Stop(kNoObject);
    return Stop("the value '" + std::string(value ? "true" : "false") + "' of " + m_members[m_place].Name() +
                " cannot be a value of a case");
  }
  bool number_integer(number_integer_t value) override { return Number(std::to_string(value)); }
  bool number_unsigned(number_unsigned_t value) override { return Number(std::to_string(value)); }
  bool number_float(number_float_t, const string_t& text) override { return Number(text); }
  bool string(string_t& text) override {
    return m_isInObject ? Stop(m_members[m_place].LookAtText(text, m_line)) : Stop(kNoObject);
  }
  bool binary(binary_t&) override { return Stop(kNoObject); }
  bool start_object(std::size_t) override {
    if (m_isInObject) return StopAtNested("an object");
    m_isInObject = true;
    return true;
  }
  bool end_object() override { return true; }
  bool start_array(std::size_t) override { return m_isInObject ? StopAtNested("a list") : Stop(kNoObject); }
  bool end_array() override { return true; }
  bool key(string_t& name) override {
    const std::optional<std::size_t> place = m_members.Find(name);
    if (!place) return Stop("there are more than " + std::to_string(kMostMembers) + " names");
    m_place = *place;
    return true;
  }
  bool parse_error(std::size_t position, const std::string&, const nlohmann::detail::exception& error) override {
    return m_trouble.empty() && Stop(ParseTrouble(position, error));
  }

 private:
  static constexpr char kNoObject[] = "a case must be an object with names and values";

  bool Number(const std::string& text) {
    return m_isInObject ? Stop(m_members[m_place].LookAtNumber(text, m_line)) : Stop(kNoObject);
  }
  bool StopAtNested(const char* what) { return Stop("the value of " + m_members[m_place].Name() + " is " + what); }
  // Stops if there is any trouble.
  bool Stop(const std::string& trouble) {
    m_trouble = trouble;
    return trouble.empty();
  }

  Members& m_members;
  Place m_line;
  std::size_t m_place = 0;
  bool m_isInObject = false;
  std::string m_trouble;
};

// Returns what is wrong with a line, or an empty text.
std::string LookAtLine(std::string_view line, const Place& place, Members& members) {
  if (line.size() > kLongestLine) return kTooLongLine;
  Looker looker(members, place);
  const bool isParsed = nlohmann::ordered_json::sax_parse(line.data(), line.data() + line.size(), &looker);
  return isParsed ? std::string() : looker.Trouble();
}

// Looks at the lines of a block by themselves.
class MemberBlock final : public LineBlock {
 public:
  explicit MemberBlock(const InputBytes& input) : m_input(input) {}

  void Work() override {
    m_members = Members(ColumnTyper::Values::part);
    m_isGood = true;
    std::string_view line;
    while (m_isGood && NextLine(line)) m_isGood = LookAtLine(line, {&m_input, Number()}, m_members).empty();
  }
  // Adds what the block has to that of all lines before it. When something is wrong, line after line shows what is.
  void AddTo(Members& members, long long linesBefore) {
    if (m_isGood && members.LookAtAll(m_members, linesBefore)) return;
    Restart();
    std::string_view line;
    while (NextLine(line)) {
      const long long number = linesBefore + Number();
      const std::string trouble = LookAtLine(line, {&m_input, number}, members);
      if (!trouble.empty()) throw LineError(trouble, number, m_input.Name());
    }
  }

 private:
  const InputBytes& m_input;
  Members m_members;
  bool m_isGood = true;
};

void LookAtBlocks(InputBytes& input, const BlockWork& work, Members& members) {
  LineBlocks blocks(input, work, [&input] { return std::make_unique<MemberBlock>(input); });
  Progress progress(STDERR_FILENO, -1);
  while (auto* const block = static_cast<MemberBlock*>(blocks.Next())) {
    block->AddTo(members, blocks.LinesBefore());
    progress.StepTo(blocks.LinesBefore() + block->Number());
  }
}

void LookAtLines(InputBytes& input, Members& members) {
  LineReader lines(input);
  Progress progress(STDERR_FILENO, -1);
  while (lines.Next()) {
    const std::string trouble = LookAtLine(lines.Text(), {&input, lines.Number()}, members);
    if (!trouble.empty()) lines.Fail(trouble);
    progress.Step(lines.Number());
  }
}

}  // namespace

JsonLinesDictionary TypeJsonObjects(const std::vector<InputBytes*>& inputs, const BlockWork& work) {
  const std::string& file = inputs.front()->Name();
  Members members;
  for (InputBytes* const input : inputs) {
    if (work.HasThreads())
      LookAtBlocks(*input, work, members);
    else
      LookAtLines(*input, members);
    input->Rewind();
  }
  if (members.All().empty())
    throw ToolError("there is no object whose names could be variables: use --dictionary", file);
  JsonLinesDictionary result{std::make_unique<SystemFileDataSource>(), {}};
  for (const Member& member : members.All()) result.members.push_back(member.Name());
  const std::vector<std::string> names = MendedNames(result.members);
  for (std::size_t k = 0; k < names.size(); ++k) {
    const ColumnType type = members.All()[k].Type();
    QUAV_Variable variable = TypedVariable(type, names[k], file);
    if (names[k] != result.members[k] && !result.members[k].empty()) variable.SetLabel(result.members[k].c_str());
    WarnOfText(type, names[k], file);
    result.dictionary->MakeVariable(variable, nullptr);
  }
  return result;
}

}  // namespace tool
