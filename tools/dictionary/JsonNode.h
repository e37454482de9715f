// A value inside a JSON document that a person may have written: whatever is not as it must be is a ToolError that
// tells its place, "variables[3].print".
//
// Threads: one thread at a time.

#ifndef TOOLS_DICTIONARY_JSONNODE_H
#define TOOLS_DICTIONARY_JSONNODE_H

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

#include "datasrc/Obs.h"

namespace tool {

class JsonNode {
 public:
  // The whole document. `file` is for messages; both outlive this object and what comes out of it.
  JsonNode(const nlohmann::ordered_json& value, const std::string& file) : m_value(&value), m_file(&file) {}

  bool IsNull() const;
  // Null, or a list or an object without elements.
  bool IsEmpty() const;
  // Of a list.
  std::size_t Size() const;
  JsonNode operator[](std::size_t index) const;
  // Of a list that must have so many elements.
  void MustHave(std::size_t size) const;
  // A member of an object; none when it is not there.
  std::optional<JsonNode> Find(const char* name) const;
  JsonNode Member(const char* name) const;

  // Text without zero bytes.
  std::string Text() const;
  bool Flag() const;
  long long Integer(long long least, long long most) const;
  // A numeric value: null is system-missing, "NaN" and the like have no digits.
  OBS NumberCell() const;
  // The text, when this is one.
  bool IsText(const char* text) const;

  // `trouble` follows the place: "is no number".
  [[noreturn]] void Fail(const std::string& trouble) const;

 private:
  JsonNode(const nlohmann::ordered_json& value, const std::string& file, const std::string& place)
      : m_value(&value), m_file(&file), m_place(place) {}

  const nlohmann::ordered_json* m_value;
  const std::string* m_file;
  std::string m_place;
};

}  // namespace tool

#endif
