#include "Columns/arrow/ArrowColumn.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Columns/arrow/LabelDictionary.h"
#include "Platform/text/Encoding.h"
#include "datasrc/QUAV_Format.h"
#include "datasrc/QUAV_ValueLabelMap.h"

namespace {

std::string Utf8(std::string_view text) {
  std::string valid;
  quavmb::Encoding::Utf8().ToUtf8(valid, text);
  return valid;
}

std::string_view WithoutBlanks(std::string_view text) { return text.substr(0, text.find_last_not_of(' ') + 1); }

// The shortest text that reads back to the number.
std::string NumberText(double number) {
  if (std::isnan(number)) return "NaN";
  if (std::isinf(number)) return number < 0 ? "-Infinity" : "Infinity";
  std::array<char, 32> text;
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr};
}

// ---- Numbers and texts as they are ----

class PlainColumn final : public ArrowColumn {
 public:
  explicit PlainColumn(BatchColumn::Kind kind) : m_kind(kind) {}

  SchemaData Schema() const override {
    SchemaData schema;
    schema.format = m_kind == BatchColumn::Kind::number ? "g" : m_kind == BatchColumn::Kind::text ? "u" : "U";
    return schema;
  }

  ArrayData Array(const std::shared_ptr<const ColumnBatch>& batch, const BatchColumn& column) override {
    ArrayData array;
    array.buffers = {column.validity};
    switch (m_kind) {
      case BatchColumn::Kind::number:
        array.buffers.push_back(column.numbers);
        break;
      case BatchColumn::Kind::text:
        array.buffers.insert(array.buffers.end(), {column.offsets, column.text});
        break;
      case BatchColumn::Kind::long_text:
        array.buffers.insert(array.buffers.end(), {column.longOffsets, column.text});
        break;
    }
    array.owner = batch;
    return array;
  }

 private:
  BatchColumn::Kind m_kind;
};

// ---- Dates and times ----

// Date and time values count seconds from midnight of 14 October 1582; Arrow counts from 1 January 1970.
constexpr std::chrono::sys_days kDayZero = std::chrono::year(1582) / 10 / 14;
constexpr std::int64_t kDaysBefore1970 = -kDayZero.time_since_epoch().count();
constexpr std::int64_t kSecondsPerDay = 86400;
constexpr double kMicroseconds = 1e6;

std::optional<std::int32_t> DaysSince1970(double value) {
  const double days = value / kSecondsPerDay - double{kDaysBefore1970};
  constexpr double kMost = std::numeric_limits<std::int32_t>::max();
  if (!(std::abs(days) <= kMost) || std::fmod(value, double{kSecondsPerDay}) != 0) return std::nullopt;
  return static_cast<std::int32_t>(days);
}

// Whether the number of microseconds gives the same value back is tested: fractions of a second are seldom exact.
std::optional<std::int64_t> Microseconds(double seconds) {
  const double scaled = std::round(seconds * kMicroseconds);
  constexpr double kMost = 9.2e18;  // just below 2^63
  if (!(std::abs(scaled) <= kMost) || scaled / kMicroseconds != seconds) return std::nullopt;
  return static_cast<std::int64_t>(scaled);
}

std::optional<std::int64_t> MicrosecondsSince1970(double value) {
  const std::optional<std::int64_t> since1582 = Microseconds(value);
  constexpr std::int64_t kBefore = kDaysBefore1970 * kSecondsPerDay * 1'000'000;
  std::int64_t since1970 = 0;
  if (!since1582 || __builtin_sub_overflow(*since1582, kBefore, &since1970)) return std::nullopt;
  return since1970;
}

// `Convert` returns nothing for a value that the type cannot hold.
template <class Value, std::optional<Value> Convert(double)>
class TimeColumn final : public ArrowColumn {
 public:
  TimeColumn(const char* format, const char* type, std::string name)
      : m_format(format), m_type(type), m_name(std::move(name)) {}

  SchemaData Schema() const override {
    SchemaData schema;
    schema.format = m_format;
    return schema;
  }

  ArrayData Array(const std::shared_ptr<const ColumnBatch>& batch, const BatchColumn& column) override {
    struct Owned {
      std::shared_ptr<const ColumnBatch> batch;  // has the validity bits
      std::vector<Value> values;
    };
    auto owned = std::make_shared<Owned>(Owned{batch, std::vector<Value>(static_cast<std::size_t>(batch->rows))});
    for (long long row = 0; row < batch->rows; ++row) {
      if (!column.HasValue(row)) continue;
      const std::optional<Value> value = Convert(column.numbers[row]);
      if (!value) Refuse(batch->firstRow + row, column.numbers[row]);
      owned->values[static_cast<std::size_t>(row)] = *value;
    }
    ArrayData array;
    array.buffers = {column.validity, owned->values.data()};
    array.owner = std::move(owned);
    return array;
  }

 private:
  [[noreturn]] void Refuse(long long row, double value) const {
    throw ValueDoesNotFit("the value " + NumberText(value) + " of the variable " + m_name + " in case " +
                          std::to_string(row) + " cannot be a " + m_type + " without loss: read it as a number");
  }

  const char* m_format;
  const char* m_type;
  std::string m_name;
};

using DateColumn = TimeColumn<std::int32_t, DaysSince1970>;
using TimestampColumn = TimeColumn<std::int64_t, MicrosecondsSince1970>;
using DurationColumn = TimeColumn<std::int64_t, Microseconds>;

std::unique_ptr<ArrowColumn> MakeTimeColumn(const QUAV_Variable& variable) {
  const FormatType type = variable.GetFormat().Type();
  std::string name = Utf8(variable.GetName());
  if (type == kFormatDateTime) return std::make_unique<TimestampColumn>("tsu:", "timestamp[us]", std::move(name));
  if (IsDateFormat(type)) return std::make_unique<DateColumn>("tdD", "date32", std::move(name));
  if (IsTimeFormat(type)) return std::make_unique<DurationColumn>("tDu", "duration[us]", std::move(name));
  return nullptr;
}

// ---- Value labels ----

// Indexes into a dictionary of labels.
class LabelColumn : public ArrowColumn {
 public:
  SchemaData Schema() const override {
    SchemaData schema;
    schema.format = "i";
    schema.dictionary = std::make_unique<SchemaData>();
    schema.dictionary->format = "u";
    return schema;
  }

  ArrayData Array(const std::shared_ptr<const ColumnBatch>& batch, const BatchColumn& column) override {
    struct Owned {
      std::shared_ptr<const ColumnBatch> batch;  // has the validity bits
      std::vector<std::int32_t> indexes;
    };
    auto owned =
        std::make_shared<Owned>(Owned{batch, std::vector<std::int32_t>(static_cast<std::size_t>(batch->rows))});
    for (long long row = 0; row < batch->rows; ++row)
      if (column.HasValue(row)) owned->indexes[static_cast<std::size_t>(row)] = IndexOf(column, row);
    ArrayData array;
    array.buffers = {column.validity, owned->indexes.data()};
    array.owner = std::move(owned);
    array.dictionary = std::make_unique<ArrayData>(m_dictionary.Array());
    return array;
  }

 protected:
  virtual std::int32_t IndexOf(const BatchColumn& column, long long row) = 0;

  LabelDictionary m_dictionary;
};

class NumberLabelColumn final : public LabelColumn {
 public:
  explicit NumberLabelColumn(QUAV_ValueLabelMap map) {
    double value = 0;
    const char* label = nullptr;
    for (map.Reset(); map.GetNextPair(value, label) != 0;)
      m_indexes.emplace(NumberCell(value).bits, m_dictionary.IndexOf(Utf8(label)));
  }

 private:
  // Values are compared by bits, as everywhere with labels.
  std::int32_t IndexOf(const BatchColumn& column, long long row) override {
    const double number = column.numbers[row];
    const std::uint64_t bits = NumberCell(number).bits;
    if (const auto found = m_indexes.find(bits); found != m_indexes.end()) return found->second;
    return m_indexes.emplace(bits, m_dictionary.IndexOf(NumberText(number))).first->second;
  }

  std::unordered_map<std::uint64_t, std::int32_t> m_indexes;
};

class TextLabelColumn final : public LabelColumn {
 public:
  explicit TextLabelColumn(QUAV_ValueLabelMap map) {
    std::string value;
    const char* label = nullptr;
    for (map.Reset(); map.GetNextPair(value, label) != 0;)
      m_indexes.emplace(Utf8(WithoutBlanks(value)), m_dictionary.IndexOf(Utf8(label)));
  }

 private:
  std::int32_t IndexOf(const BatchColumn& column, long long row) override {
    const auto found = m_indexes.find(std::string(column.Text(row)));
    return found != m_indexes.end() ? found->second : m_dictionary.IndexOf(column.Text(row));
  }

  std::unordered_map<std::string, std::int32_t> m_indexes;
};

std::unique_ptr<ArrowColumn> MakeLabelColumn(const QUAV_Variable& variable) {
  if (!variable.GetValueLabels().IsValid()) return nullptr;
  QUAV_ValueLabelMap map(variable.GetValueLabels());
  if (map.Size() == 0 || (map.Type() == 0) != (variable.GetType() == 0)) return nullptr;
  if (variable.GetType() == 0) return std::make_unique<NumberLabelColumn>(std::move(map));
  return std::make_unique<TextLabelColumn>(std::move(map));
}

}  // namespace

std::unique_ptr<ArrowColumn> MakeArrowColumn(const QUAV_Variable& variable, BatchColumn::Kind kind,
                                             const ArrowExportOptions& options) {
  std::unique_ptr<ArrowColumn> column;
  if (options.labels) column = MakeLabelColumn(variable);
  if (!column && options.typedDates && kind == BatchColumn::Kind::number) column = MakeTimeColumn(variable);
  if (!column) column = std::make_unique<PlainColumn>(kind);
  return column;
}
