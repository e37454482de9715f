#include "Columns/dictionary/JsonNode.h"

#include <limits>
#include <nlohmann/json.hpp>

#include "Columns/dictionary/DictionaryJsonError.h"

namespace dstext {

bool JsonNode::IsNull() const { return m_value->is_null(); }

bool JsonNode::IsEmpty() const { return m_value->empty(); }

std::size_t JsonNode::Size() const {
  if (!m_value->is_array()) Fail("is not a list");
  return m_value->size();
}

JsonNode JsonNode::operator[](std::size_t index) const {
  return {(*m_value)[index], m_place + "[" + std::to_string(index) + "]"};
}

void JsonNode::MustHave(std::size_t size) const {
  if (Size() != size) Fail("is not a list of " + std::to_string(size) + " values");
}

std::optional<JsonNode> JsonNode::Find(const char* name) const {
  if (!m_value->is_object()) Fail("is not an object");
  const auto found = m_value->find(name);
  if (found == m_value->end()) return std::nullopt;
  return JsonNode(*found, m_place.empty() ? name : m_place + "." + name);
}

JsonNode JsonNode::Member(const char* name) const {
  if (const auto member = Find(name)) return *member;
  Fail(std::string("has no member ") + name);
}

std::string JsonNode::Text() const {
  if (!m_value->is_string()) Fail("is not a string");
  const auto& text = m_value->get_ref<const std::string&>();
  if (text.find('\0') != std::string::npos) Fail("contains a zero byte");
  return text;
}

bool JsonNode::Flag() const {
  if (!m_value->is_boolean()) Fail("is neither true nor false");
  return m_value->get<bool>();
}

long long JsonNode::Integer(long long least, long long most) const {
  const auto refuse = [&] {
    Fail("is not a whole number from " + std::to_string(least) + " to " + std::to_string(most));
  };
  if (!m_value->is_number_integer()) refuse();
  if (m_value->is_number_unsigned() &&
      m_value->get<std::uint64_t>() > static_cast<std::uint64_t>(std::numeric_limits<long long>::max()))
    refuse();
  const auto number = m_value->get<long long>();
  if (number < least || number > most) refuse();
  return number;
}

OBS JsonNode::NumberCell() const {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  if (IsNull()) return kSystemMissingCell;
  if (IsText("NaN")) return ::NumberCell(std::numeric_limits<double>::quiet_NaN());
  if (IsText("Infinity")) return ::NumberCell(kInfinity);
  if (IsText("-Infinity")) return ::NumberCell(-kInfinity);
  if (!m_value->is_number()) Fail("is not a number");
  return ::NumberCell(m_value->get<double>());
}

bool JsonNode::IsText(const char* text) const { return m_value->is_string() && *m_value == text; }

void JsonNode::Fail(const std::string& trouble) const {
  throw DictionaryJsonError((m_place.empty() ? "the dictionary" : m_place) + " " + trouble);
}

}  // namespace dstext
