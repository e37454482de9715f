#include "Columns/arrowin/ColumnValues.h"

#include <optional>
#include <string_view>
#include <utility>

#include "Columns/arrowin/ArrowType.h"
#include "Columns/arrowin/NumberReaders.h"
#include "Columns/arrowin/TextReaders.h"
#include "Columns/text/JsonText.h"
#include "Columns/text/NumberSyntax.h"
#include "Columns/text/NumberText.h"
#include "Columns/text/ShownText.h"
#include "Platform/text/Encoding.h"
#include "datasrc/ArrowImport.h"
#include "datasrc/QUAV_Variable.h"

namespace arrowin {

namespace {

using Kind = ArrowType::Kind;

constexpr char kReserved[] = "is the number that stands for a missing value";
constexpr std::size_t kMostShown = 60;  // bytes of a text in a message

[[noreturn]] void RefuseColumn(const std::string& column, const std::string& trouble) {
  throw ArrowImportError("the column " + column + " " + trouble);
}

// Returns the value in quotation marks, shortened, with its control characters escaped.
std::string Quoted(std::string_view value) {
  std::string shown;
  quavmb::Encoding::Utf8().ToUtf8(shown, value.substr(0, kMostShown));
  if (value.size() > kMostShown) shown += "...";
  std::string quoted;
  dstext::AppendJsonString(quoted, shown);
  return quoted;
}

// Which elements are no null. Elements are counted from the start of the buffers.
class Validity {
 public:
  // Throws when the array has not the buffers of its type.
  void Begin(const ArrowArray& array, std::int64_t buffers, bool mayHaveMore, const std::string& column) {
    if (array.n_buffers < buffers || (array.n_buffers > buffers && !mayHaveMore) || array.buffers == nullptr)
      RefuseColumn(column, "has an array with the wrong number of buffers");
    // Arrays without elements may be without memory.
    if (array.length > 0 && array.buffers[1] == nullptr) RefuseColumn(column, "has an array without values");
    m_bits = static_cast<const std::uint8_t*>(array.buffers[0]);
    m_offset = array.offset;
  }

  std::int64_t Offset() const { return m_offset; }
  bool HasValue(std::int64_t i) const { return m_bits == nullptr || (m_bits[i / 8] >> (i % 8) & 1) != 0; }

 private:
  const std::uint8_t* m_bits = nullptr;
  std::int64_t m_offset = 0;
};

// ---- Numbers ----

class NullValues final : public ColumnValues {
 public:
  explicit NullValues(bool isNumber) : m_isNumber(isNumber) {}

  void Begin(const ArrowArray&) override {}
  void Take(std::int64_t, int count, long long, ArrivedColumn& column) override {
    const auto size = static_cast<std::size_t>(count);
    if (m_isNumber) {
      column.numbers.insert(column.numbers.end(), size, kSystemMissingCell);
    } else {
      column.sizes.insert(column.sizes.end(), size, 0);
    }
  }

 private:
  bool m_isNumber;
};

// `MakeReader(buffer)` returns a reader of NumberReaders.h.
template <class MakeReader>
class NumberValues final : public ColumnValues {
 public:
  NumberValues(std::string name, MakeReader makeReader)
      : m_name(std::move(name)), m_makeReader(makeReader), m_reader(makeReader(nullptr)) {}

  void Begin(const ArrowArray& array) override {
    m_validity.Begin(array, 2, false, m_name);
    m_reader = m_makeReader(array.buffers[1]);
  }

  void Take(std::int64_t first, int count, long long row, ArrivedColumn& column) override {
    const std::int64_t begin = m_validity.Offset() + first;
    for (std::int64_t i = begin; i < begin + count; ++i)
      column.numbers.push_back(m_validity.HasValue(i) ? Cell(i, row + (i - begin)) : kSystemMissingCell);
  }

 private:
  OBS Cell(std::int64_t i, long long row) const {
    const std::optional<double> value = m_reader.Value(i);
    if (!value) RefuseValue(m_name, row, m_reader.Text(i), "cannot be a number of a system file without loss");
    const OBS cell = NumberCell(*value);
    if (cell == kSystemMissingCell) RefuseValue(m_name, row, m_reader.Text(i), kReserved);
    return cell;
  }

  std::string m_name;
  MakeReader m_makeReader;
  Validity m_validity;
  std::invoke_result_t<MakeReader, const void*> m_reader;
};

template <class MakeReader>
std::unique_ptr<ColumnValues> Numbers(const std::string& name, MakeReader makeReader) {
  return std::make_unique<NumberValues<MakeReader>>(name, makeReader);
}

template <std::integral T>
std::unique_ptr<ColumnValues> IntegerValues(const std::string& name) {
  return Numbers(name, [](const void* buffer) { return Integers<T>(buffer); });
}

std::unique_ptr<ColumnValues> IntegerValues(const ArrowType& type, const std::string& name) {
  switch (type.bits) {
    case 8:
      return type.isSigned ? IntegerValues<std::int8_t>(name) : IntegerValues<std::uint8_t>(name);
    case 16:
      return type.isSigned ? IntegerValues<std::int16_t>(name) : IntegerValues<std::uint16_t>(name);
    case 32:
      return type.isSigned ? IntegerValues<std::int32_t>(name) : IntegerValues<std::uint32_t>(name);
    default:
      return type.isSigned ? IntegerValues<std::int64_t>(name) : IntegerValues<std::uint64_t>(name);
  }
}

std::unique_ptr<ColumnValues> RealValues(const ArrowType& type, const std::string& name) {
  switch (type.bits) {
    case 16:
      return Numbers(name, [](const void* buffer) { return HalfReals(buffer); });
    case 32:
      return Numbers(name, [](const void* buffer) { return Reals<float>(buffer); });
    default:
      return Numbers(name, [](const void* buffer) { return Reals<double>(buffer); });
  }
}

std::unique_ptr<ColumnValues> TickValues(const ArrowType& type, const ColumnTarget& target) {
  const TickUnit unit{type.perSecond, type.kind == Kind::timestamp, target.roundTimes};
  if (type.bits == 32)
    return Numbers(target.name, [unit](const void* buffer) { return Ticks<std::int32_t>(buffer, unit); });
  return Numbers(target.name, [unit](const void* buffer) { return Ticks<std::int64_t>(buffer, unit); });
}

// ---- Texts ----

class TextSink {
 public:
  virtual ~TextSink() = default;
  virtual void Add(std::string_view text, long long row, ArrivedColumn& column) const = 0;
  virtual void AddNull(ArrivedColumn& column) const = 0;
};

class PlainTexts final : public TextSink {
 public:
  explicit PlainTexts(const ColumnTarget& target) : m_target(target) {}

  void Add(std::string_view text, long long row, ArrivedColumn& column) const override {
    if (const auto* const value = m_target.labels ? m_target.labels->Find(text) : nullptr) {
      if (value->isShared) RefuseValue(m_target.name, row, std::string(text), "is the label of several values");
      text = value->text;
    }
    text = dstext::WithoutTrailingBlanks(text);
    if (text.size() > MAX_STRING_TYPE) RefuseValue(m_target.name, row, std::string(text), "has more than 32767 bytes");
    if (!dstext::IsValidUtf8(text)) RefuseValue(m_target.name, row, std::string(text), "is not UTF-8");
    column.sizes.push_back(static_cast<std::uint32_t>(text.size()));
    column.text += text;
  }
  void AddNull(ArrivedColumn& column) const override { column.sizes.push_back(0); }

 private:
  ColumnTarget m_target;
};

// Texts that stand for numbers: labels, or digits.
class NumbersOfTexts final : public TextSink {
 public:
  explicit NumbersOfTexts(const ColumnTarget& target) : m_target(target) {}

  void Add(std::string_view text, long long row, ArrivedColumn& column) const override {
    column.numbers.push_back(Cell(text, row));
  }
  void AddNull(ArrivedColumn& column) const override { column.numbers.push_back(kSystemMissingCell); }

 private:
  OBS Cell(std::string_view text, long long row) const {
    if (const auto* const value = m_target.labels ? m_target.labels->Find(text) : nullptr) {
      if (value->isShared) RefuseValue(m_target.name, row, std::string(text), "is the label of several values");
      return value->number;
    }
    text = dstext::WithoutTrailingBlanks(text);
    if (const std::optional<double> number = dstext::NumberOfName(text)) return NumberCell(*number);
    dstext::NumberSyntax syntax;
    if (!dstext::ParseNumber(text, syntax))
      RefuseValue(m_target.name, row, std::string(text), "is neither a label of the variable nor a number");
    const std::optional<double> number = dstext::NumberValue(text, syntax);
    if (!number || !dstext::ComesBack(text, syntax))
      RefuseValue(m_target.name, row, std::string(text), "cannot be a number of a system file without loss");
    return NumberCell(*number);
  }

  ColumnTarget m_target;
};

template <class Reader>
class TextValues final : public ColumnValues {
 public:
  TextValues(std::string name, std::unique_ptr<const TextSink> sink)
      : m_name(std::move(name)), m_sink(std::move(sink)) {}

  void Begin(const ArrowArray& array) override {
    m_validity.Begin(array, Reader::kBuffers, std::is_same_v<Reader, ViewTexts>, m_name);
    m_reader.emplace(array);
  }

  void Take(std::int64_t first, int count, long long row, ArrivedColumn& column) override {
    const std::int64_t begin = m_validity.Offset() + first;
    for (std::int64_t i = begin; i < begin + count; ++i) {
      if (!m_validity.HasValue(i)) {
        m_sink->AddNull(column);
        continue;
      }
      const std::optional<std::string_view> text = m_reader->Text(i);
      if (!text) RefuseColumn(m_name, "has in row " + std::to_string(row + (i - begin)) + " a text out of its buffers");
      m_sink->Add(*text, row + (i - begin), column);
    }
  }

 private:
  std::string m_name;
  std::unique_ptr<const TextSink> m_sink;
  Validity m_validity;
  std::optional<Reader> m_reader;
};

std::unique_ptr<ColumnValues> MakeTextValues(const ArrowType& type, const ColumnTarget& target) {
  std::unique_ptr<const TextSink> sink;
  if (target.isNumber) {
    sink = std::make_unique<NumbersOfTexts>(target);
  } else {
    sink = std::make_unique<PlainTexts>(target);
  }
  if (type.kind == Kind::textView) return std::make_unique<TextValues<ViewTexts>>(target.name, std::move(sink));
  if (type.bits == 32) return std::make_unique<TextValues<OffsetTexts<std::int32_t>>>(target.name, std::move(sink));
  return std::make_unique<TextValues<OffsetTexts<std::int64_t>>>(target.name, std::move(sink));
}

// ---- Dictionaries ----

class DictionaryValues final : public ColumnValues {
 public:
  DictionaryValues(const ColumnTarget& target, std::unique_ptr<ColumnValues> indexes,
                   std::unique_ptr<ColumnValues> values)
      : m_target(target), m_indexes(std::move(indexes)), m_values(std::move(values)) {}

  void Begin(const ArrowArray& array) override {
    if (array.dictionary == nullptr || array.dictionary->length < 0 || array.dictionary->offset < 0)
      RefuseColumn(m_target.name, "has an array without its dictionary");
    m_indexes->Begin(array);
    m_values->Begin(*array.dictionary);
    m_size = array.dictionary->length;
  }

  // Indexes come as cells.
  void Take(std::int64_t first, int count, long long row, ArrivedColumn& column) override {
    m_taken.Clear();
    m_indexes->Take(first, count, row, m_taken);
    for (const OBS cell : m_taken.numbers) {
      const double index = CellNumber(cell);
      if (cell == kSystemMissingCell) {
        NullValues(m_target.isNumber).Take(0, 1, row, column);
      } else if (index < 0 || index >= static_cast<double>(m_size)) {
        RefuseColumn(m_target.name, "has in row " + std::to_string(row) + " an index outside its dictionary");
      } else {
        m_values->Take(static_cast<std::int64_t>(index), 1, row, column);
      }
      ++row;
    }
  }

 private:
  ColumnTarget m_target;
  std::unique_ptr<ColumnValues> m_indexes;
  std::unique_ptr<ColumnValues> m_values;
  std::int64_t m_size = 0;
  ArrivedColumn m_taken;
};

// ---- Any type ----

std::optional<ArrowType> ValueType(const ArrowSchema& schema) {
  const ArrowSchema& values = schema.dictionary != nullptr ? *schema.dictionary : schema;
  if (values.format == nullptr || values.dictionary != nullptr) return std::nullopt;
  return ParseArrowType(values.format);
}

std::unique_ptr<ColumnValues> PlainValues(const ArrowType& type, const ColumnTarget& target) {
  if (type.kind == Kind::null) return std::make_unique<NullValues>(target.isNumber);
  if (type.IsText()) return MakeTextValues(type, target);
  if (!target.isNumber) RefuseColumn(target.name, "has numbers, but the variable is a text");
  switch (type.kind) {
    case Kind::boolean:
      return Numbers(target.name, [](const void* buffer) { return Booleans(buffer); });
    case Kind::integer:
      return IntegerValues(type, target.name);
    case Kind::real:
      return RealValues(type, target.name);
    case Kind::decimal:
      return Numbers(target.name, [bits = type.bits, scale = type.scale](const void* buffer) {
        return Decimals(buffer, bits, scale);
      });
    case Kind::days:
      return Numbers(target.name, [](const void* buffer) { return Days(buffer); });
    default:
      return TickValues(type, target);
  }
}

}  // namespace

void RefuseValue(const std::string& column, long long row, const std::string& value, const char* trouble) {
  throw ArrowImportError("the value " + Quoted(value) + " of the column " + column + " in row " + std::to_string(row) +
                         " " + trouble);
}

bool HasText(const ArrowSchema& schema) {
  const std::optional<ArrowType> type = ValueType(schema);
  return type && type->IsText();
}

std::unique_ptr<ColumnValues> MakeColumnValues(const ArrowSchema& schema, const ColumnTarget& target) {
  const std::optional<ArrowType> type = ValueType(schema);
  if (!type)
    RefuseColumn(target.name, std::string("has the Arrow type \"") + schema.format + "\", which no variable can have");
  if (schema.dictionary == nullptr) {
    ColumnTarget plain = target;
    if (!target.isNumber) plain.labels.reset();
    return PlainValues(*type, plain);
  }
  const std::optional<ArrowType> indexes = ParseArrowType(schema.format);
  if (!indexes || indexes->kind != Kind::integer) RefuseColumn(target.name, "has a dictionary with indexes of no type");
  return std::make_unique<DictionaryValues>(target, IntegerValues(*indexes, target.name), PlainValues(*type, target));
}

}  // namespace arrowin
