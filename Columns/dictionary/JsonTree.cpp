#include "Columns/dictionary/JsonTree.h"

#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "Columns/dictionary/DictionaryJsonError.h"

namespace dstext {

namespace {

using Parser = nlohmann::ordered_json;

constexpr std::size_t kMostLevels = 16;  // of lists and objects; a dictionary has 6

// Gets the parts of the text in their order. The parser itself needs no stack for nested values.
class TreeBuilder final : public nlohmann::json_sax<Parser> {
 public:
  explicit TreeBuilder(const std::set<std::string_view>& members) : m_members(members) {}

  Json Take() { return std::move(m_root); }

  bool null() override { return Add(nullptr); }
  bool boolean(bool value) override { return Add(value); }
  bool number_integer(number_integer_t value) override { return Add(value); }
  bool number_unsigned(number_unsigned_t value) override { return Add(value); }
  bool number_float(number_float_t value, const string_t&) override { return Add(value); }
  bool string(string_t& text) override { return Add(std::move(text)); }
  bool binary(binary_t&) override { return false; }  // JSON text has none

  bool start_object(std::size_t) override { return Begin(Json::Object()); }
  bool end_object() override { return End(); }
  bool start_array(std::size_t) override { return Begin(Json::List()); }
  bool end_array() override { return End(); }

  bool key(string_t& name) override {
    if (m_skippedLevels != 0) return true;
    m_skipsNext = !m_members.contains(name);
    if (m_skipsNext) return true;
    if (m_open.back()->Contains(name)) Fail(Inside(name) + " occurs twice");
    m_key = std::move(name);
    return true;
  }

  bool parse_error(std::size_t position, const std::string&, const nlohmann::detail::exception& error) override {
    constexpr int kNumberOutOfRange = 406;
    const char* const trouble = error.id == kNumberOutOfRange ? "the dictionary contains a number that is too large"
                                                              : "the dictionary is not valid JSON";
    Fail(std::string(trouble) + " (at byte " + std::to_string(position) + ")");
  }

 private:
  bool Add(Json value) {
    if (m_skippedLevels == 0 && !std::exchange(m_skipsNext, false)) Place(std::move(value));
    return true;
  }

  bool Begin(Json container) {
    if (m_skippedLevels != 0 || std::exchange(m_skipsNext, false)) {
      ++m_skippedLevels;
      return true;
    }
    if (m_open.size() == kMostLevels) Fail(Inside(m_key) + " is nested too deeply");
    m_open.push_back(&Place(std::move(container)));
    return true;
  }

  bool End() {
    if (m_skippedLevels != 0) {
      --m_skippedLevels;
    } else {
      m_open.pop_back();
    }
    return true;
  }

  // Moves a value to its place in the tree. A container gets no further element while an element of it is open, so the
  // pointers in m_open stay valid.
  Json& Place(Json value) {
    if (m_open.empty()) return m_root = std::move(value);
    Json& container = *m_open.back();
    return container.IsObject() ? container.Set(m_key, std::move(value)) : container.Add(std::move(value));
  }

  // Returns the place of a member or an element of the innermost open container, for example "variables[3].print".
  std::string Inside(const std::string& name) const {
    if (m_open.empty()) return "the dictionary";
    std::string place;
    for (std::size_t level = 0; level < m_open.size(); ++level) {
      const Json& container = *m_open[level];
      const bool isLast = level + 1 == m_open.size();
      if (container.IsList()) {
        place += "[" + std::to_string(container.Size() - (isLast ? 0 : 1)) + "]";
      } else {
        place += (place.empty() ? "" : ".") + (isLast ? name : container.AllMembers().back().first);
      }
    }
    return place;
  }

  [[noreturn]] static void Fail(const std::string& trouble) { throw DictionaryJsonError(trouble); }

  const std::set<std::string_view>& m_members;
  Json m_root;
  std::vector<Json*> m_open;        // the kept containers that have not ended, from the root on
  std::size_t m_skippedLevels = 0;  // containers that have not ended and are not kept
  bool m_skipsNext = false;         // true after the key of a member that is not kept
  std::string m_key;                // of the next value, or of the last one
};

}  // namespace

Json ReadJsonTree(std::string_view text, const std::set<std::string_view>& members) {
  TreeBuilder builder(members);
  Parser::sax_parse(text, &builder);
  return builder.Take();
}

}  // namespace dstext
