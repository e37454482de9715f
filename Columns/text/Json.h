// A JSON value in memory, with the members of its objects in order.
//
//   Json::List(1, "two", nullptr)
//   Json::Object({{"name", text}, {"values", list}})
//
// nlohmann-json parses, but its trees are not used: their destructors request memory, and a program ends when a
// destructor gets none.
//
// Ask for the kind of a value before its contents.
//
// Threads: values.

#ifndef COLUMNS_TEXT_JSON_H
#define COLUMNS_TEXT_JSON_H

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace dstext {

class Json {
 public:
  using Items = std::vector<Json>;
  using Member = std::pair<std::string, Json>;
  using Members = std::vector<Member>;

  Json(std::nullptr_t = nullptr) {}
  template <std::same_as<bool> Flag>
  Json(Flag flag) : m_value(flag) {}
  template <std::signed_integral Number>
  Json(Number number) : m_value(static_cast<std::int64_t>(number)) {}
  template <std::unsigned_integral Number>
  requires(!std::same_as<Number, bool>) Json(Number number) {
    if (std::in_range<std::int64_t>(number))
      m_value = static_cast<std::int64_t>(number);
    else
      m_value = static_cast<std::uint64_t>(number);
  }
  Json(double number) : m_value(number) {}
  Json(std::string text) : m_value(std::move(text)) {}
  Json(std::string_view text) : m_value(std::string(text)) {}
  Json(const char* text) : m_value(std::string(text)) {}

  Json(const Json& other);
  Json(Json&&) noexcept = default;
  Json& operator=(const Json& other) { return *this = Json(other); }
  Json& operator=(Json&&) noexcept = default;
  ~Json() = default;

  template <class... Values>
  static Json List(Values&&... values) {
    Items items;
    items.reserve(sizeof...(values));
    (items.emplace_back(std::forward<Values>(values)), ...);
    return Json(Value(std::move(items)));
  }
  static Json Object() { return Json(Value(Members())); }
  template <std::size_t N>
  static Json Object(Member (&&members)[N]) {
    return Json(
        Value(Members(std::make_move_iterator(std::begin(members)), std::make_move_iterator(std::end(members)))));
  }

  bool IsNull() const { return Is<std::nullptr_t>(); }
  bool IsFlag() const { return Is<bool>(); }
  bool IsInteger() const { return Is<std::int64_t>() || Is<std::uint64_t>(); }
  bool IsNumber() const { return IsInteger() || Is<double>(); }
  bool IsText() const { return Is<std::string>(); }
  bool IsList() const { return Is<Items>(); }
  bool IsObject() const { return Is<Members>(); }

  bool Flag() const { return std::get<bool>(m_value); }
  double Number() const;
  // Returns nothing for a number that is not whole or too large.
  std::optional<long long> Integer() const;
  const std::string& Text() const { return std::get<std::string>(m_value); }

  // Returns the number of elements of a list or an object, 0 for null, otherwise 1.
  std::size_t Size() const;
  bool IsEmpty() const { return Size() == 0; }

  // ---- Lists ----
  Items& Elements() { return std::get<Items>(m_value); }
  const Items& Elements() const { return std::get<Items>(m_value); }
  Json& operator[](std::size_t index) { return Elements()[index]; }
  const Json& operator[](std::size_t index) const { return Elements()[index]; }
  Json& Add(Json value) { return Elements().emplace_back(std::move(value)); }

  // ---- Objects ----
  const Members& AllMembers() const { return std::get<Members>(m_value); }
  // Return null when the object has no such member.
  Json* Find(std::string_view name);
  const Json* Find(std::string_view name) const;
  bool Contains(std::string_view name) const { return Find(name) != nullptr; }
  // Sets a member; a new one comes last. Returns it.
  Json& Set(std::string_view name, Json value);
  // Does nothing when the object has no such member.
  void Erase(std::string_view name);
  // Sets all members of another object.
  void Update(Json other);

  bool operator==(const Json&) const = default;

 private:
  using Value = std::variant<std::nullptr_t, bool, std::int64_t, std::uint64_t, double, std::string, Items, Members>;

  explicit Json(Value value) : m_value(std::move(value)) {}
  template <class Kind>
  bool Is() const {
    return std::holds_alternative<Kind>(m_value);
  }

  Value m_value;  // an unsigned number only beyond those that are signed
};

}  // namespace dstext

#endif
