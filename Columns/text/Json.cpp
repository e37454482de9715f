#include "Columns/text/Json.h"

#include <algorithm>

namespace dstext {

// Deliberate: copies the alternative and moves it in. When the copy of a variant throws, libstdc++ 12 destroys an
// alternative that does not exist (a string and a vector never leave a variant without a value, it assumes).
Json::Json(const Json& other) {
  const auto take = [this](const auto& alternative) {
    auto copy = alternative;
    m_value = std::move(copy);
  };
  std::visit(take, other.m_value);
}

double Json::Number() const {
  if (Is<double>()) return std::get<double>(m_value);
  if (Is<std::uint64_t>()) return static_cast<double>(std::get<std::uint64_t>(m_value));
  return static_cast<double>(std::get<std::int64_t>(m_value));
}

std::optional<long long> Json::Integer() const {
  const std::int64_t* const number = std::get_if<std::int64_t>(&m_value);
  return number != nullptr ? std::optional<long long>(*number) : std::nullopt;
}

std::size_t Json::Size() const {
  if (IsNull()) return 0;
  if (IsList()) return Elements().size();
  return IsObject() ? AllMembers().size() : 1;
}

const Json* Json::Find(std::string_view name) const {
  const auto found = std::ranges::find(AllMembers(), name, &Member::first);
  return found == AllMembers().end() ? nullptr : &found->second;
}

Json* Json::Find(std::string_view name) { return const_cast<Json*>(std::as_const(*this).Find(name)); }

Json& Json::Set(std::string_view name, Json value) {
  if (Json* const present = Find(name)) return *present = std::move(value);
  return std::get<Members>(m_value).emplace_back(std::string(name), std::move(value)).second;
}

void Json::Erase(std::string_view name) {
  std::erase_if(std::get<Members>(m_value), [name](const Member& member) { return member.first == name; });
}

void Json::Update(Json other) {
  for (Member& member : std::get<Members>(other.m_value)) Set(member.first, std::move(member.second));
}

}  // namespace dstext
