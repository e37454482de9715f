// Record 21: the value labels of strings wider than 8 bytes. Format: docs/system-file.md, "Record 21".

#include <algorithm>
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
constexpr std::int64_t kMostContents = std::numeric_limits<std::int32_t>::max();

bool IsLong(const QUAV_ValueLabelMap& map) { return map.Size() != 0 && map.Type() > 8; }

// Each value is written in its whole width. Throws SystemFileException 1202 when the record would have more bytes than
// its count can tell, before they are collected.
void RequireRoom(const QUAV_DataSource& source) {
  std::int64_t size = 0;
  for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column) {
    QUAV_ValueLabelMap map(source.GetVariable(column).GetValueLabels());
    if (IsLong(map)) size += std::int64_t{map.Size()} * map.Type();
  }
  Require(size <= kMostContents, kRowNotWritten, "size <= 2147483647");
}

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

// Wider values come without their blank cells: a map stores them so, and a short value of a very long string takes little
// memory.
constexpr std::size_t kMostWholeCells = 64;

// Keeps each byte of the value: two values that end in different parts of characters stay different.
ValueLabel Pair(std::string_view value, int width, std::string_view label) {
  const std::size_t cells = CellCount(width);
  const std::size_t used = std::max<std::size_t>((value.size() + sizeof(OBS) - 1) / sizeof(OBS), 1);
  const std::size_t kept = cells <= kMostWholeCells ? cells : used;
  ValueLabel pair{std::vector<OBS>(kept, kBlankCell), std::string(label)};
  value.copy(CellText(pair.value.data()), value.size());
  pair.blankCells = cells - kept;
  return pair;
}

class Reader {
 public:
  Reader(SystemFileDataSource& source, const SystemFileOptions& options, const SystemFileExtensionRecord& record)
      : m_source(source), m_options(options), m_finder(source), m_in(record.Bytes(), options.Order()) {}

  void Read() {
    while (m_in.Left() != 0) ReadEntry();
    m_options.NoteFlaws(m_unused, "value labels that fit no variable");
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
      if (applies) pairs.push_back(Pair(value, varType, label));
    }
    if (applies)
      Apply(column, varType, std::move(pairs));
    else
      ++m_unused;
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
  const SystemFileOptions& m_options;
  VariableFinder m_finder;
  ByteCursor m_in;
  long long m_unused = 0;
};

class SFExtensionVLExtStrings final : public SystemFileExtensionHandler {
 public:
  SFExtensionVLExtStrings() { Register(kLongStringLabelsSubtype, this); }

  // Removes the labels from the dictionary: the label records have no room for such values.
  void Write(SystemFileDataSource::SaveDS& source, SystemFileExtensionRecord& record) override {
    RequireRoom(source);
    ByteBuilder out;
    for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column) {
      QUAV_Variable& variable = source.GetVariable(column);
      QUAV_ValueLabelMap map(variable.GetValueLabels());
      if (!IsLong(map)) continue;
      AppendLabels(out, variable.GetName(), map);
      variable.SetValueLabels(QUAV_VLImplPointer());
    }
    Require(static_cast<std::int64_t>(out.Size()) <= kMostContents, kRowNotWritten, "out.Size() <= 2147483647");
    if (out.Size() != 0) record.Fill(1, out.Bytes());
  }

  void Read(SystemFileDataSource& source, SystemFileOptions& options,
            const SystemFileExtensionRecord& record) override {
    Reader(source, options, record).Read();
  }
};

SFExtensionVLExtStrings theVLExtStringsHandler;

}  // namespace
