#include "tools/manual/OptionValues.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace tool {

namespace {

using TypeKind = std::pair<std::string_view, ValueKind>;

constexpr std::array<TypeKind, 19> kTypes{{
    {"A,B", ValueKind::text},
    {"A,B:desc", ValueKind::text},
    {"C", ValueKind::text},
    {"DICT.json", ValueKind::file},
    {"F", ValueKind::file},
    {"FROM:TO", ValueKind::text},
    {"N", ValueKind::text},
    {"NAME", ValueKind::text},
    {"OUT", ValueKind::file},
    {"OUT.html", ValueKind::file},
    {"SIZE", ValueKind::text},
    {"TEXT", ValueKind::text},
    {"V", ValueKind::text},
    // Arguments
    {"A", ValueKind::file},
    {"B", ValueKind::file},
    {"COMMAND", ValueKind::command},
    {"FILE", ValueKind::file},
    {"IN", ValueKind::file},
    {"VARIABLE", ValueKind::text},
}};

ValueKind KindOfType(std::string_view type) {
  const auto* const found = std::ranges::find(kTypes, type, &TypeKind::first);
  return found == kTypes.end() ? ValueKind::unknown : found->second;
}

}  // namespace

ValueKind KindOf(const OptionDescription& option) {
  if (option.type.empty()) return ValueKind::none;
  return option.choices.empty() ? KindOfType(option.type) : ValueKind::choice;
}

ValueKind KindOf(const ArgumentDescription& argument) { return KindOfType(argument.name); }

}  // namespace tool
