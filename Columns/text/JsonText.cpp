#include "Columns/text/JsonText.h"

#include <algorithm>
#include <optional>
#include <string>

#include "Columns/text/NumberText.h"

namespace dstext {

namespace {

constexpr std::size_t kIndent = 2;
constexpr std::size_t kMostMembersOnALine = 3;

bool NeedsEscape(char c) { return static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\'; }

void AppendEscaped(std::string& out, char c) {
  constexpr std::string_view kHexDigits = "0123456789abcdef";
  const auto byte = static_cast<unsigned char>(c);
  switch (c) {
    case '\n':
      out += "\\n";
      break;
    case '\r':
      out += "\\r";
      break;
    case '\t':
      out += "\\t";
      break;
    case '"':
    case '\\':
      out += '\\';
      out += c;
      break;
    default:
      out += "\\u00";
      out += kHexDigits[byte >> 4];
      out += kHexDigits[byte & 0xF];
  }
}

void AppendLine(std::string& out, std::size_t depth) {
  out += '\n';
  out.append(depth * kIndent, ' ');
}

bool IsStructured(const Json& tree) { return tree.IsList() || tree.IsObject(); }

bool IsListOfPlainValues(const Json& tree) {
  return tree.IsList() && std::ranges::none_of(tree.Elements(), IsStructured);
}

// True for a list of plain values, and for an object with few members that are plain values or such lists.
bool IsOnOneLine(const Json& tree) {
  if (tree.IsList()) return IsListOfPlainValues(tree);
  return tree.Size() <= kMostMembersOnALine && std::ranges::all_of(tree.AllMembers(), [](const Json::Member& member) {
           return !IsStructured(member.second) || IsListOfPlainValues(member.second);
         });
}

// Writes the separators and line breaks around the elements of a list or an object.
class Elements {
 public:
  Elements(std::string& out, const Json& tree, std::size_t depth)
      : m_out(out), m_depth(depth), m_oneLine(IsOnOneLine(tree)) {}

  void Next() {
    if (!m_isFirst) m_out += m_oneLine ? ", " : ",";
    if (!m_oneLine) AppendLine(m_out, m_depth + 1);
    m_isFirst = false;
  }
  void End() {
    if (!m_oneLine) AppendLine(m_out, m_depth);
  }

 private:
  std::string& m_out;
  std::size_t m_depth;
  bool m_oneLine;
  bool m_isFirst = true;
};

void AppendList(std::string& out, const Json& list, std::size_t depth) {
  Elements elements(out, list, depth);
  out += '[';
  for (const Json& element : list.Elements()) {
    elements.Next();
    AppendJson(out, element, depth + 1);
  }
  elements.End();
  out += ']';
}

void AppendObject(std::string& out, const Json& object, std::size_t depth) {
  Elements elements(out, object, depth);
  out += '{';
  for (const auto& [name, value] : object.AllMembers()) {
    elements.Next();
    AppendJsonString(out, name);
    out += ": ";
    AppendJson(out, value, depth + 1);
  }
  elements.End();
  out += '}';
}

}  // namespace

void AppendJsonString(std::string& out, std::string_view text) {
  out += '"';
  while (!text.empty()) {
    const auto plainEnd = std::ranges::find_if(text, NeedsEscape);
    out.append(text.begin(), plainEnd);
    text = {plainEnd, text.end()};
    if (text.empty()) break;
    AppendEscaped(out, text.front());
    text.remove_prefix(1);
  }
  out += '"';
}

void AppendJson(std::string& out, const Json& tree, std::size_t depth) {
  if (tree.IsObject()) {
    AppendObject(out, tree, depth);
  } else if (tree.IsList()) {
    AppendList(out, tree, depth);
  } else if (tree.IsText()) {
    AppendJsonString(out, tree.Text());
  } else if (tree.IsNull()) {
    out += "null";
  } else if (tree.IsFlag()) {
    out += tree.Flag() ? "true" : "false";
  } else if (const std::optional<long long> number = tree.Integer()) {
    out += std::to_string(*number);
  } else {
    AppendNumber(out, tree.Number());
  }
}

}  // namespace dstext
