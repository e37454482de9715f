#include "Columns/text/JsonText.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "Columns/text/NumberText.h"

namespace dstext {

namespace {

using Json = nlohmann::ordered_json;

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

bool HoldsPlainValues(const Json& tree) {
  return std::ranges::none_of(tree, [](const Json& element) { return element.is_structured(); });
}

// True for a list of plain values, and for an object with few members that are plain values or such lists.
bool IsOnOneLine(const Json& tree) {
  if (tree.is_array()) return HoldsPlainValues(tree);
  return tree.size() <= kMostMembersOnALine &&
         std::ranges::all_of(tree, [](const Json& member) { return !member.is_object() && HoldsPlainValues(member); });
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
  for (const Json& element : list) {
    elements.Next();
    AppendJson(out, element, depth + 1);
  }
  elements.End();
  out += ']';
}

void AppendObject(std::string& out, const Json& object, std::size_t depth) {
  Elements elements(out, object, depth);
  out += '{';
  for (const auto& [name, value] : object.items()) {
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
  if (tree.is_object()) {
    AppendObject(out, tree, depth);
  } else if (tree.is_array()) {
    AppendList(out, tree, depth);
  } else if (tree.is_string()) {
    AppendJsonString(out, tree.get_ref<const std::string&>());
  } else if (tree.is_number_float()) {
    AppendNumber(out, tree.get<double>());
  } else {
    out += tree.dump();
  }
}

}  // namespace dstext
