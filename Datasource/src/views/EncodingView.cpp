#include "views/EncodingView.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>

#include "Platform/text/Ascii.h"
#include "core/TrailingBlanks.h"
#include "core/Warning.h"
#include "datasrc/SystemFileDataSource.h"
#include "dictionary/MissingCode.h"
#include "sources/QUAV_DataSourceData.h"

namespace {

using Copier = EncodingViewData::Copier;

// Converts the texts of a dictionary, each once.
class DictionaryConverter {
 public:
  DictionaryConverter(EncodingViewData& data, const EncodingDirection& direction)
      : m_data(data), m_direction(direction) {}

  std::string Text(const std::string& text);
  DatasourceAttributes Attributes(const DatasourceAttributes& attributes);
  // Also plans the conversion of the variable's cells.
  void Variable(QUAV_Variable& variable);
  std::vector<VariableSetImpl> Sets(std::vector<VariableSetImpl> sets);

 private:
  void MissingValues(QUAV_Variable& variable);
  void ValueLabels(QUAV_Variable& variable);
  QUAV_ValueLabelMap LabelMap(const QUAV_VLMapImpl& old, int width);
  std::vector<OBS> Field(const std::vector<OBS>& value, int width);
  void Plan(int width);

  EncodingViewData& m_data;
  const EncodingDirection& m_direction;
  // From the parent's label maps to those of the view: variables that share a map keep sharing it.
  std::map<const QUAV_VLMapImpl*, QUAV_VLImplPointer> m_labelMaps;
};

std::string DictionaryConverter::Text(const std::string& text) {
  std::string converted;
  if (m_direction.convertText(m_data._converter.get(), converted, text) != 0) m_data._lost = true;
  return converted;
}

DatasourceAttributes DictionaryConverter::Attributes(const DatasourceAttributes& attributes) {
  std::vector<DatasourceAttributes::Entry> entries;
  for (unsigned long k = 0; k < attributes.Size(); ++k) {
    std::string name = Text(attributes.Name(k));
    std::vector<std::string> values = attributes.Values(k);
    for (std::string& value : values) value = Text(value);
    entries.emplace_back(std::move(name), std::move(values));
  }
  DatasourceAttributes converted;
  converted.DefineAll(std::move(entries));
  return converted;
}

std::vector<VariableSetImpl> DictionaryConverter::Sets(std::vector<VariableSetImpl> sets) {
  for (VariableSetImpl& set : sets) {
    set.name = Text(set.name);
    set.label = Text(set.label);
    set.value = Text(set.value);
  }
  return sets;
}

void DictionaryConverter::Variable(QUAV_Variable& variable) {
  const int width = variable.GetType();
  variable.SetName(Text(variable.GetName()).c_str());
  if (variable.GetLabel() != nullptr) variable.SetLabel(Text(variable.GetLabel()).c_str());
  if (width != 0) MissingValues(variable);
  ValueLabels(variable);
  if (variable.GetAttributes().Size() != 0) variable.SetAttributes(Attributes(variable.GetAttributes()));
  Plan(width);
  variable.SetType(m_direction.viewWidth(width));
}

// A missing value of a string has 8 bytes: a value that grows beyond that is dropped.
void DictionaryConverter::MissingValues(QUAV_Variable& variable) {
  const OBS* values[3]{};
  const int count = MissingCodeInUse(variable.GetMissingValues(values[0], values[1], values[2]));
  const std::size_t size = std::min<std::size_t>(static_cast<std::size_t>(variable.GetType()), sizeof(OBS));
  OBS kept[3]{};
  const OBS* given[3]{};
  int keptCount = 0;
  for (int i = 0; i < count; ++i) {
    const std::string_view text = WithoutTrailingBlanks({CellText(values[i]), size});
    const std::string converted = Text(text.empty() ? " " : std::string(text));
    if (converted.size() > sizeof(OBS)) continue;
    kept[keptCount] = kBlankCell;
    std::ranges::copy(converted, CellText(&kept[keptCount]));
    given[keptCount] = &kept[keptCount];
    ++keptCount;
  }
  variable.SetMissingValues(given[0], given[1], given[2]);
}

void DictionaryConverter::ValueLabels(QUAV_Variable& variable) {
  const QUAV_VLImplPointer old = variable.GetValueLabels();
  if (!old.IsValid() || old->Pairs().empty()) return;
  const auto [place, isNew] = m_labelMaps.try_emplace(old.get());
  if (isNew) place->second = LabelMap(*old, variable.GetType());
  variable.SetValueLabels(place->second);
}

QUAV_ValueLabelMap DictionaryConverter::LabelMap(const QUAV_VLMapImpl& old, int width) {
  QUAV_ValueLabelMap map(m_direction.viewWidth(width));
  if (width == 0) {
    std::vector<ValueLabel> pairs;
    for (const ValueLabel& pair : old.Pairs()) pairs.push_back({pair.value, Text(pair.label)});
    map.AddPairs(std::move(pairs));
  } else {
    // Texts take the memory that they need; there may be many short ones for a very long string.
    std::vector<std::pair<std::string, std::string>> pairs;
    for (const ValueLabel& pair : old.Pairs()) {
      const std::vector<OBS> field = Field(pair.value, width);
      const std::string_view text(CellText(field.data()), field.size() * sizeof(OBS));
      pairs.emplace_back(WithoutTrailingBlanks(text), Text(pair.label));
    }
    map.AddTextPairs(pairs);
  }
  return map;
}

std::vector<OBS> DictionaryConverter::Field(const std::vector<OBS>& value, int width) {
  const int viewWidth = m_direction.viewWidth(width);
  std::vector<OBS> field(CellCount(viewWidth), kBlankCell);
  const int size = std::min(width, static_cast<int>(value.size() * sizeof(OBS)));
  int lost = 0;
  const auto convert = [&](char* output, std::string_view text) {
    m_direction.convertField(m_data._converter.get(), output, viewWidth, text.data(), static_cast<int>(text.size()),
                             &lost);
  };
  // A value may leave out cells that are blank. Those take part in the conversion where a blank becomes another byte.
  std::string blanksIncluded;
  std::string_view whole(CellText(value.data()), static_cast<std::size_t>(size));
  if (size < width && !QUAVMBConverterKeepsAscii(m_data._converter.get())) {
    blanksIncluded = whole;
    blanksIncluded.resize(static_cast<std::size_t>(width), ' ');
    whole = blanksIncluded;
  }
  convert(CellText(field.data()), whole);
  // The text may grow so that only trailing blanks no longer fit, which is no loss.
  if (lost != 0) convert(std::string(static_cast<std::size_t>(viewWidth), ' ').data(), WithoutTrailingBlanks(whole));
  if (lost != 0) m_data._lost = true;
  return field;
}

void DictionaryConverter::Plan(int width) {
  std::vector<Copier>& copiers = m_data._copiers;
  if (width == 0 && !copiers.empty() && copiers.back().width == 0) {
    ++copiers.back().cells;
    return;
  }
  const std::uint32_t sourceCell = copiers.empty() ? 0 : copiers.back().sourceCell + copiers.back().SourceCells();
  copiers.push_back({sourceCell, CellCount(m_direction.viewWidth(width)), static_cast<std::uint16_t>(width)});
}

}  // namespace

void ConvertDictionary(QUAV_DataSource& view, EncodingViewData& data, const EncodingDirection& direction,
                       ErrorMonitor* monitor) {
  DictionaryConverter converter(data, direction);
  if (view.GetLabel() != nullptr) view.SetLabel(converter.Text(view.GetLabel()).c_str());
  if (view.GetAttributes().Size() != 0) view.SetAttributes(converter.Attributes(view.GetAttributes()));
  std::vector<QUAV_Variable> variables;
  variables.reserve(view.ColumnCount());
  for (int column = 0; column < static_cast<int>(view.ColumnCount()); ++column)
    converter.Variable(variables.emplace_back(std::as_const(view).GetVariable(column)));
  SetAllVariables(view, std::move(variables));
  SystemFileDataSource::FixVarNames(view, monitor);
  view.SetMRSets(converter.Sets(view.GetMRSets()));
  view.SetVariableSets(converter.Sets(view.GetVariableSets()));
}

void EndConversion(EncodingViewData& data, int message, ErrorMonitor* monitor) {
  if (data._lost) Warn(monitor, message, data._encoding);
  data._converter.reset();
}

// ---- Cases ----

namespace {

// Copies the cells of a string, with blanks after its width. Returns whether all of it is printable ASCII; if not,
// the copy is not usable.
bool CopyAscii(const OBS* source, unsigned int width, OBS* target) {
  const OBS* const lastCell = source + width / sizeof(OBS);
  quavmb::Word other = 0;
  for (; source < lastCell; ++source, ++target) {
    other |= quavmb::NotPrintable(source->bits);
    *target = *source;
  }
  if (const std::size_t rest = width % sizeof(OBS); rest != 0) {
    *target = kBlankCell;
    std::copy_n(CellText(source), rest, CellText(target));
    other |= quavmb::NotPrintable(target->bits);
  }
  return other == 0;
}

}  // namespace

EncodingViewIterator::EncodingViewIterator(const QUAV_DataSource& view, const EncodingViewData& data,
                                           const EncodingDirection& direction, OBS* buffer)
    : QUAV_InputCaseIterator(view, buffer),
      m_data(data),
      m_parent(view.GetParentSource()->MakeIterator(nullptr)),
      m_converter(QUAVMBConverterNew_A(data._encoding.c_str())),
      m_keepsAscii(QUAVMBConverterKeepsAscii(m_converter.get())),
      m_convertField(direction.convertField),
      m_parentCells(m_parent->GetObsPointer(0)),
      m_cells(GetObsPointer(0)) {}

EncodingViewIterator::~EncodingViewIterator() = default;

int EncodingViewIterator::IsSeekOK() { return m_parent->IsSeekOK(); }

int EncodingViewIterator::Seek(long long row) { return m_parent->Seek(row); }

long long EncodingViewIterator::Tell() const { return m_parent->Tell(); }

int EncodingViewIterator::Next() {
  const int result = m_parent->Next();
  if (result != 0) ConvertCase();
  return result;
}

void EncodingViewIterator::ConvertCase() {
  OBS* target = m_cells;
  for (const Copier& copier : m_data._copiers) {
    if (copier.width == 0) {
      std::copy_n(m_parentCells + copier.sourceCell, copier.cells, target);
    } else {
      ConvertString(copier, target);
    }
    target += copier.cells;
  }
}

// Most strings are all ASCII: they are copied cell by cell, which gives the same bytes as a conversion.
void EncodingViewIterator::ConvertString(const Copier& copier, OBS* target) {
  const OBS* const source = m_parentCells + copier.sourceCell;
  if (m_keepsAscii && CopyAscii(source, copier.width, target)) {
    std::fill(target + copier.SourceCells(), target + copier.cells, kBlankCell);
    return;
  }
  // Contract: the room is that of the cells, which may exceed the width.
  const int room = static_cast<int>(copier.cells * sizeof(OBS));
  const int length = m_convertField(m_converter.get(), CellText(target), room, CellText(source), copier.width, nullptr);
  std::fill(CellText(target) + length, CellText(target) + room, ' ');
}
