// Record 21: the value labels of strings wider than 8 bytes. Format: docs/system-file.md, "Record 21".

#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/systemfileformat.h"
#include "datasrc/QUAV_ValueLabelMap.h"
#include "sources/VariableFinder.h"
#include "systemfile/ByteBuilder.h"
#include "systemfile/ByteCursor.h"
#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileExtensionRecord.h"

namespace {

constexpr std::size_t kLeastEntry = 14;

// In memory, a short value of a wide variable takes the width of the variable. This limits the bytes for one record.
constexpr std::int64_t kMostValueBytes = std::int64_t{256} << 20;

void AppendLabels(ByteBuilder& out, const char* name, QUAV_ValueLabelMap& map) {
  out.CountedText(name);
  out.I32(map.Type());
  out.I32(map.Size());
  std::string value;
  const char* label = nullptr;
  for (map.Reset(); map.GetNextPair(value, label) != 0;) {
    out.CountedText(value);
    out.CountedText(label);
  }
}

// Returns the cells of a value. Keeps each byte: two values that end in different parts of characters stay different.
std::vector<OBS> ValueField(std::string_view value, int width) {
  std::vector<OBS> field(CellCount(width), kBlankCell);
  value.copy(CellText(field.data()), value.size());
  return field;
}

class Reader {
 public:
  Reader(SystemFileDataSource& source, const SystemFileOptions& options, const SystemFileExtensionRecord& record)
      : m_source(source), m_finder(source), m_in(record.Bytes(), options.Order()) {}

  void Read() {
    while (m_in.Left() != 0) ReadEntry();
  }

 private:
  void ReadEntry() {
    Require(m_in.Left() >= kLeastEntry, kMalformed, "r+13 < endr");
    const std::int64_t nameLength = m_in.I32();
    Require(nameLength >= 0 && m_in.Holds(nameLength + 9), kMalformed, "r+nameLength+8 < endr");
    const int column = m_finder.Find(m_in.Text(static_cast<std::size_t>(nameLength)));
    const std::int32_t varType = m_in.I32();
    const std::int32_t count = m_in.I32();
    // Skips the labels of a variable that does not exist or has another width.
    const bool applies = column >= 0 && m_source.GetVariable(column).GetType() == varType;
    std::vector<ValueLabel> pairs;
    for (std::int32_t i = 0; i < count; ++i) {
      const std::string_view value = CountedText("valLen <= varType", varType, "r + valLen <= endr");
      const std::string_view label =
          CountedText("labelLen >= 0", std::numeric_limits<std::int32_t>::max(), "r + labelLen <= endr");
      if (!applies) continue;
      m_valueBytes += FieldSize(varType);
      Require(m_valueBytes <= kMostValueBytes, kMalformed, "valueBytes <= 268435456");
      pairs.push_back({ValueField(value, varType), std::string(label)});
    }
    if (applies) Apply(column, varType, std::move(pairs));
  }

  // Reads a length, then so many bytes.
  std::string_view CountedText(const char* lengthTest, std::int32_t most, const char* roomTest) {
    Require(m_in.Holds(4), kMalformed, "r + 4 <= endr");
    const std::int32_t length = m_in.I32();
    Require(0 <= length && length <= most, kMalformed, lengthTest);
    Require(m_in.Holds(length), kMalformed, roomTest);
    return m_in.Text(static_cast<std::size_t>(length));
  }

  void Apply(int column, int varType, std::vector<ValueLabel> pairs) {
    QUAV_ValueLabelMap map(varType);
    map.AddPairs(std::move(pairs));
    m_source.GetVariable(column).SetValueLabels(map);
  }

  SystemFileDataSource& m_source;
  VariableFinder m_finder;
  ByteCursor m_in;
  std::int64_t m_valueBytes = 0;
};

class SFExtensionVLExtStrings final : public SystemFileExtensionHandler {
 public:
  SFExtensionVLExtStrings() { Register(kLongStringLabelsSubtype, this); }

  // Removes the labels from the dictionary: the label records have no room for such values.
  void Write(SystemFileDataSource::SaveDS& source, SystemFileExtensionRecord& record) override {
    ByteBuilder out;
    for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column) {
      QUAV_Variable& variable = source.GetVariable(column);
      QUAV_ValueLabelMap map(variable.GetValueLabels());
      if (map.Size() == 0 || map.Type() <= 8) continue;
      AppendLabels(out, variable.GetName(), map);
      variable.SetValueLabels(QUAV_VLImplPointer());
    }
    if (out.Size() != 0) record.Fill(1, out.Bytes());
  }

  void Read(SystemFileDataSource& source, SystemFileOptions& options,
            const SystemFileExtensionRecord& record) override {
    Reader(source, options, record).Read();
  }
};

SFExtensionVLExtStrings theHandler;

}  // namespace
