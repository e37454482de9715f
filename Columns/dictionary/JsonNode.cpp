#include "Columns/dictionary/JsonNode.h"

#include <limits>

#include "Columns/dictionary/DictionaryJsonError.h"

namespace dstext {

bool JsonNode::IsNull() const { return m_value->IsNull(); }

bool JsonNode::IsEmpty() const { return m_value->IsEmpty(); }

std::size_t JsonNode::Size() const {
  if (!m_value->IsList()) Fail("is not a list");
  return m_value->Size();
}

JsonNode JsonNode::operator[](std::size_t index) const {
  return {(*m_value)[index], m_place + "[" + std::to_string(index) + "]"};
}

void JsonNode::MustHave(std::size_t size) const {
  if (Size() != size) Fail("is not a list of " + std::to_string(size) + " values");
}

std::optional<JsonNode> JsonNode::Find(const char* name) const {
  if (!m_value->IsObject()) Fail("is not an object");
  const Json* const found = m_value->Find(name);
  if (found == nullptr) return std::nullopt;
  return JsonNode(*found, m_place.empty() ? name : m_place + "." + name);
}

JsonNode JsonNode::Member(const char* name) const {
  if (const auto member = Find(name)) return *member;
  Fail(std::string("has no member ") + name);
}

std::string JsonNode::Text() const {
  if (!m_value->IsText()) Fail("is not a string");
  const std::string& text = m_value->Text();
  if (text.find('\0') != std::string::npos) Fail("contains a zero byte");
  return text;
}

bool JsonNode::Flag() const {
  if (!m_value->IsFlag()) Fail("is neither true nor false");
  return m_value->Flag();
}

long long JsonNode::Integer(long long least, long long most) const {
  const std::optional<long long> number = m_value->Integer();
  if (!number || *number < least || *number > most)
    Fail("is not a whole number from " + std::to_string(least) + " to " + std::to_string(most));
  return *number;
}

OBS JsonNode::NumberCell() const {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  if (IsNull()) return kSystemMissingCell;
  if (IsText("NaN")) return ::NumberCell(std::numeric_limits<double>::quiet_NaN());
  if (IsText("Infinity")) return ::NumberCell(kInfinity);
  if (IsText("-Infinity")) return ::NumberCell(-kInfinity);
  if (!m_value->IsNumber()) Fail("is not a number");
  return ::NumberCell(m_value->Number());
}

bool JsonNode::IsText(const char* text) const { return m_value->IsText() && m_value->Text() == text; }

void JsonNode::Fail(const std::string& trouble) const {
  throw DictionaryJsonError((m_place.empty() ? "the dictionary" : m_place) + " " + trouble);
}

}  // namespace dstext
