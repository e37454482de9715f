#include "Columns/arrow/ArrowColumn.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Columns/arrow/ArrowTimes.h"
#include "Columns/arrow/LabelDictionary.h"
#include "Columns/text/NumberText.h"
#include "Columns/text/ShownText.h"
#include "datasrc/QUAV_Format.h"
#include "datasrc/QUAV_ValueLabelMap.h"

namespace {

// The shortest text that reads back to the number.
std::string NumberText(double number) {
  std::string text(dstext::NonFiniteName(number));
  if (text.empty()) dstext::AppendNumber(text, number);
  return text;
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

std::unique_ptr<ArrowColumn> MakeTimeColumn(const QUAV_Variable& variable, std::string name) {
  const FormatType type = variable.GetFormat().Type();
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
  NumberLabelColumn(QUAV_ValueLabelMap map, const quavmb::Encoding& encoding) {
    double value = 0;
    const char* label = nullptr;
    for (map.Reset(); map.GetNextPair(value, label) != 0;)
      m_indexes.emplace(NumberCell(value).bits, m_dictionary.IndexOf(Utf8Text(label, encoding)));
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
  TextLabelColumn(QUAV_ValueLabelMap map, const quavmb::Encoding& encoding) {
    std::string value;
    const char* label = nullptr;
    for (map.Reset(); map.GetNextPair(value, label) != 0;)
      m_indexes.emplace(dstext::WithoutTrailingBlanks(Utf8Text(value, encoding)),
                        m_dictionary.IndexOf(Utf8Text(label, encoding)));
  }

 private:
  std::int32_t IndexOf(const BatchColumn& column, long long row) override {
    const auto found = m_indexes.find(std::string(column.Text(row)));
    return found != m_indexes.end() ? found->second : m_dictionary.IndexOf(column.Text(row));
  }

  std::unordered_map<std::string, std::int32_t> m_indexes;
};

std::unique_ptr<ArrowColumn> MakeLabelColumn(const QUAV_Variable& variable, const quavmb::Encoding& encoding) {
  if (!variable.GetValueLabels().IsValid()) return nullptr;
  QUAV_ValueLabelMap map(variable.GetValueLabels());
  if (map.Size() == 0 || (map.Type() == 0) != (variable.GetType() == 0)) return nullptr;
  if (variable.GetType() == 0) return std::make_unique<NumberLabelColumn>(std::move(map), encoding);
  return std::make_unique<TextLabelColumn>(std::move(map), encoding);
}

}  // namespace

std::string Utf8Text(std::string_view text, const quavmb::Encoding& encoding) {
  std::string converted;
  encoding.ToUtf8(converted, text);
  return converted;
}

std::unique_ptr<ArrowColumn> MakeArrowColumn(const QUAV_Variable& variable, BatchColumn::Kind kind,
                                             const ArrowExportOptions& options, const quavmb::Encoding& encoding) {
  std::unique_ptr<ArrowColumn> column;
  if (options.labels) column = MakeLabelColumn(variable, encoding);
  if (!column && options.typedDates && kind == BatchColumn::Kind::number)
    column = MakeTimeColumn(variable, Utf8Text(variable.GetName(), encoding));
  if (!column) column = std::make_unique<PlainColumn>(kind);
  return column;
}
