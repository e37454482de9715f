// A value inside a JSON document. A person may have written the document, so every mistake in it is a
// DictionaryJsonError that names its place, for example "variables[3].print".
//
// Threads: one thread at a time.

#ifndef COLUMNS_DICTIONARY_JSONNODE_H
#define COLUMNS_DICTIONARY_JSONNODE_H

#include <optional>
#include <string>

#include "Columns/text/Json.h"
#include "datasrc/Obs.h"

namespace dstext {

class JsonNode {
 public:
  // Wraps the whole document, which outlives this object and all nodes that come from it.
  explicit JsonNode(const Json& value) : m_value(&value) {}

  bool IsNull() const;
  // Returns true for null, and for a list or an object without elements.
  bool IsEmpty() const;
  // Returns the size of a list.
  std::size_t Size() const;
  JsonNode operator[](std::size_t index) const;
  // Fails when this is not a list of `size` elements.
  void MustHave(std::size_t size) const;
  // Returns a member of an object, or nothing when it does not exist.
  std::optional<JsonNode> Find(const char* name) const;
  // Returns a member of an object. Fails when it does not exist.
  JsonNode Member(const char* name) const;

  // Returns a string. Fails when it contains a zero byte.
  std::string Text() const;
  bool Flag() const;
  // Returns a whole number. Fails when it is outside the range from `least` to `most`.
  long long Integer(long long least, long long most) const;
  // Returns a numeric value: null is system-missing, and a number without digits is its name, such as "NaN".
  OBS NumberCell() const;
  // Returns true when this is a string equal to `text`.
  bool IsText(const char* text) const;

  // Returns where the value is in the document: "variables[3].print". Empty for the whole document.
  const std::string& Place() const { return m_place; }
  // Throws DictionaryJsonError. `trouble` follows the place: "is not a number".
  [[noreturn]] void Fail(const std::string& trouble) const;

 private:
  JsonNode(const Json& value, const std::string& place) : m_value(&value), m_place(place) {}

  const Json* m_value;
  std::string m_place;
};

}  // namespace dstext

#endif
