#include "tools/dictionary/FittedDictionary.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <map>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "Columns/dictionary/CarriedText.h"
#include "Columns/text/ShownText.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/QUAV_TrendsInfo.h"
#include "datasrc/VariableNames.h"
#include "datasrc/VariableSet.h"
#include "tools/messages/ToolError.h"

namespace tool {

using namespace dstext;

namespace {

constexpr std::size_t kFileLabelSize = 64;
constexpr std::size_t kValueLabelSize = 255;
constexpr int kWidestOneCell = 8;  // bytes; labels of wider strings have a record of their own, without a limit
constexpr std::size_t kDocumentLineSize = 80;
constexpr int kDocumentType = 0;  // the block of the documents
constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

std::size_t WholeCharacters(const std::string& text, std::size_t size) {
  return static_cast<std::size_t>(
      QUAVMBWholeCharacters_A(text.data(), static_cast<int>(text.size()), static_cast<int>(size)));
}

int MissingCount(const QUAV_Variable& variable) {
  std::array<const OBS*, 3> values{};
  return std::abs(variable.GetMissingValues(values[0], values[1], values[2]));
}

class Fitter {
 public:
  Fitter(QUAV_DataSource& dictionary, const QUAV_DataSource& source, const TextEncodings& encodings,
         const std::string& path)
      : m_dictionary(dictionary),
        m_source(source),
        m_encoding(encodings.file),
        m_path(path),
        m_blank(BlankOf(QUAVMBConverterPtr(QUAVMBConverterNew_A(encodings.file.c_str())).get())),
        m_text(encodings.carried, encodings.file) {}

  Losses Fit() {
    FileLabel();
    if (m_dictionary.GetAttributes().Size() != 0) {
      DatasourceAttributes fitted;
      if (FitAttributes(m_dictionary.GetAttributes(), fitted)) m_dictionary.SetAttributes(fitted);
    }
    for (int column = 0; column < static_cast<int>(m_dictionary.ColumnCount()); ++column) Variable(column);
    CountMissingValues(m_source, m_encoding, m_losses);
    Documents();
    EditorText();
    SortIndex();
    Trends();
    return std::move(m_losses);
  }

 private:
  void FileLabel() {
    if (m_dictionary.GetLabel() == nullptr) return;
    const std::string label = m_dictionary.GetLabel();
    if (label.size() <= kFileLabelSize) return;
    m_dictionary.SetLabel(label.substr(0, WholeCharacters(label, kFileLabelSize)).c_str());
    m_losses.Add("labels of the data set that were cut to 64 bytes");
  }

  // A variable changes only when it must: a change copies what it shares.
  void Variable(int column) {
    const QUAV_Variable& variable = std::as_const(m_dictionary).GetVariable(column);
    if (const QUAV_VLImplPointer fitted = FitLabels(variable.GetValueLabels()); fitted.IsValid())
      m_dictionary.GetVariable(column).SetValueLabels(fitted);
    if (DatasourceAttributes fitted; FitAttributes(variable.GetAttributes(), fitted))
      m_dictionary.GetVariable(column).SetAttributes(fitted);
  }

  // Returns null when the labels fit. Variables that share a map share the new one.
  QUAV_VLImplPointer FitLabels(const QUAV_VLImplPointer& old) {
    if (!old.IsValid()) return {};
    const bool needsBlanks = old->Type() > 0 && m_blank != ' ';
    if (old->Type() > kWidestOneCell && !needsBlanks) return {};
    const auto [place, isNew] = m_labelMaps.try_emplace(old.get());
    if (!isNew) return place->second;
    long long nCut = 0;
    std::vector<ValueLabel> pairs(old->Pairs().begin(), old->Pairs().end());
    for (ValueLabel& pair : pairs) {
      if (needsBlanks) PadValue(pair, old->Type());
      if (old->Type() > kWidestOneCell || pair.label.size() <= kValueLabelSize) continue;
      pair.label.resize(WholeCharacters(pair.label, kValueLabelSize));
      ++nCut;
    }
    if (nCut != 0) m_losses.Add("value labels that were cut to 255 bytes", nCut);
    if (nCut == 0 && !needsBlanks) return {};
    QUAV_ValueLabelMap map(old->Type());
    map.AddPairs(std::move(pairs));
    place->second = map;
    return place->second;
  }

  // A view pads a value that became shorter with byte 32. The values of cases have the encoding's blanks.
  void PadValue(ValueLabel& pair, int width) const {
    pair.value.resize(CellCount(width), kBlankCell);
    pair.blankCells = 0;
    char* const text = CellText(pair.value.data());
    const std::size_t length = WithoutTrailingBlanks({text, static_cast<std::size_t>(width)}).size();
    std::fill(text + length, text + width, m_blank);
  }

  // Returns false, and leaves `fitted` empty, when a file can hold all names.
  bool FitAttributes(const DatasourceAttributes& attributes, DatasourceAttributes& fitted) {
    std::set<std::string> taken;  // in upper case
    bool fits = true;
    for (unsigned long k = 0; k < attributes.Size(); ++k) {
      const std::string name = attributes.Name(k);
      if (IsLegal(name)) {
        taken.insert(QUAVMBstrupr_A(name));
      } else {
        fits = false;
      }
    }
    if (fits) return false;
    std::vector<DatasourceAttributes::Entry> entries;
    for (unsigned long k = 0; k < attributes.Size(); ++k)
      if (const std::string name = FittedName(attributes.Name(k), taken); !name.empty())
        entries.emplace_back(name, attributes.Values(k));
    fitted.DefineAll(std::move(entries));
    return true;
  }

  // Returns an empty name for an attribute that is omitted.
  std::string FittedName(const std::string& name, std::set<std::string>& taken) {
    if (IsLegal(name)) return name;
    if (name.size() <= kMaxVariableName) {
      m_losses.Add("attributes that were omitted, because their names are not legal in " + m_encoding);
      return {};
    }
    const std::string cut = CutName(name);
    if (cut.empty() || !taken.insert(QUAVMBstrupr_A(cut)).second) {
      m_losses.Add("attributes that were omitted, because their names have more than 64 bytes");
      return {};
    }
    m_losses.Add("names of attributes that were cut to 64 bytes");
    return cut;
  }

  static bool IsLegal(const std::string& name) {
    const int fault = ValidateQUAVNameCheckLastChar(name.c_str());
    return fault == kNameIsLegal || fault == kNameOfSystem;
  }

  // Returns an empty name when the beginning is not legal.
  static std::string CutName(std::string name) {
    name.resize(WholeCharacters(name, kMaxVariableName));
    for (;;) {
      const int fault = ValidateQUAVNameCheckLastChar(name.c_str());
      if (fault != kNameEndsInPoint && fault != kNameEndsInUnderline) break;
      name.pop_back();
    }
    return IsLegal(name) ? name : std::string();
  }

  void Documents() {
    if (!m_text.IsNeeded() || !m_dictionary.HasExtension(kDocumentType)) return;
    const std::string old = QUAV_DataSource::Extension(m_dictionary, kDocumentType).Elements();
    std::string lines;
    for (std::size_t start = 0; start + kDocumentLineSize <= old.size(); start += kDocumentLineSize)
      AddLine(lines, old.substr(start, kDocumentLineSize));
    m_dictionary.SetExtension(kDocumentType, 1, static_cast<long>(lines.size()), lines.data());
  }

  // A date line stays one line: the line after it counts as the separator of two documents.
  void AddLine(std::string& lines, std::string line) {
    bool isLost = m_text.ConvertLine(line);
    const bool isLong = line.size() > kDocumentLineSize;
    if (isLong && IsDateLine(line)) {
      line.resize(WholeCharacters(line, kDocumentLineSize));
      isLost = true;
    } else if (isLong) {
      m_losses.Add("lines of documents that were wrapped, because a line has 80 bytes");
      line = AddBeginnings(lines, std::move(line));
    }
    if (isLost) m_losses.Add("lines of documents that lost text in " + m_encoding);
    AddPadded(lines, line);
  }

  // Adds lines until the rest of the text fits into a line, which it returns. A line ends before a blank if it can.
  static std::string AddBeginnings(std::string& lines, std::string text) {
    while (text.size() > kDocumentLineSize) {
      const std::size_t whole = WholeCharacters(text, kDocumentLineSize);
      const std::size_t blank = text.rfind(' ', whole);
      const bool isBetweenWords = blank != text.npos && text.find_first_not_of(' ') < blank;
      AddPadded(lines, text.substr(0, isBetweenWords ? blank : whole));
      text.erase(0, isBetweenWords ? text.find_first_not_of(' ', blank) : whole);
    }
    return text;
  }

  static void AddPadded(std::string& lines, const std::string& line) {
    lines += line;
    lines.append(kDocumentLineSize - line.size(), ' ');
  }

  void EditorText() {
    DataEditorFormattingInfo info = m_dictionary.GetDEFormattingInfo();
    std::string text = info.GetInfo();
    if (!m_text.IsNeeded() || text.empty()) return;
    if (m_text.Convert(text)) m_losses.Add("formatting texts of the data editor that lost text in " + m_encoding);
    info.SetInfo(text);
    m_dictionary.SetDEFormattingInfo(info);
  }

  void SortIndex() {
    SortIndexInfo info = m_dictionary.GetSortIndexInfo();
    if (info.GetIndexKeys().empty() && info.GetIndex().empty()) return;
    std::vector<FileSort::SortKey> keys = info.GetIndexKeys();
    if (m_text.IsNeeded()) info.SetIndex(ConvertedIndex(info, keys));
    MoveKeys(keys);
    info.SetIndexKeys(keys);
    m_dictionary.SetSortIndexInfo(info);
    CheckSortIndex(info);
  }

  // Changes the lengths of the strings in `keys` to those of the longest converted pieces. Choice: not to those of the
  // variables, which are often wider, and the last piece is not padded, because a file keeps an index only up to the
  // first blank. A search does not need blanks at the end.
  std::vector<SortIndexInfo::SortIndexKeyRowPair> ConvertedIndex(const SortIndexInfo& info,
                                                                 std::vector<FileSort::SortKey>& keys) {
    std::vector<SortIndexInfo::SortIndexKeyRowPair> index = info.GetIndex();
    std::vector<std::vector<std::string>> pieces;
    bool arePieces = !keys.empty();
    for (const auto& pair : index) {
      auto some = arePieces ? PiecesOf(pair.GetKeyValue(), keys) : std::nullopt;
      arePieces = some.has_value();
      if (!arePieces) break;
      pieces.push_back(std::move(*some));
    }
    if (!arePieces) {
      for (auto& pair : index) pair.SetKeyValue(ConvertedKey(pair.GetKeyValue()));
      return index;
    }
    for (std::vector<std::string>& some : pieces) ConvertPieces(some, keys);
    for (std::size_t i = 0; i < keys.size() && !pieces.empty(); ++i) {
      if (keys[i].stringLength == 0) continue;
      std::size_t longest = 0;
      for (const auto& some : pieces) longest = std::max(longest, some[i].size());
      if (i + 1 < keys.size())
        for (auto& some : pieces) some[i].resize(longest, m_blank);
      keys[i].stringLength = static_cast<int>(longest);
    }
    for (std::size_t row = 0; row < index.size(); ++row) {
      std::string text;
      for (const std::string& piece : pieces[row]) text += piece;
      index[row].SetKeyValue(text);
    }
    return index;
  }

  void ConvertPieces(std::vector<std::string>& pieces, const std::vector<FileSort::SortKey>& keys) {
    bool isLost = false;
    for (std::size_t i = 0; i < keys.size(); ++i)
      if (keys[i].stringLength != 0 && m_text.Convert(pieces[i])) isLost = true;
    if (isLost) m_losses.Add(LostKeys());
  }

  std::string ConvertedKey(std::string key) {
    if (m_text.Convert(key)) m_losses.Add(LostKeys());
    return key;
  }

  std::string LostKeys() const { return "keys of the sort index that lost text in " + m_encoding; }

  // The keys are cells of a case in the file; strings are wider in a view.
  void MoveKeys(std::vector<FileSort::SortKey>& keys) const {
    const QUAV_DataSource* stored = &m_source;
    while (stored->GetParentSource() != nullptr) stored = stored->GetParentSource();
    if (stored->ColumnCount() != m_dictionary.ColumnCount()) return;
    std::map<int, int> cells;  // from the cells of the file that was read to those of the new one
    for (int column = 0; column < static_cast<int>(stored->ColumnCount()); ++column)
      cells.emplace(stored->ObsIndex(column), m_dictionary.ObsIndex(column));
    for (FileSort::SortKey& key : keys)
      if (const auto cell = cells.find(key.cellIndex); cell != cells.end()) key.cellIndex = cell->second;
  }

  // A file does not have a date variable without a type, but counts it: readers would find too few.
  void Trends() {
    QUAV_TrendsInfo& trends = m_dictionary.GetTrendsInfo();
    for (int i = 0; i < trends.GetNDateVars(); ++i) {
      int column = 0;
      int type = 0;
      int third = 0;
      trends.GetDateVar(i, column, type, third);
      if (type != QUAV_TrendsInfo::e_NONE) continue;
      m_losses.Note("the date variables of the trends are omitted: one has no type");
      trends.SetNDateVars(0);
    }
  }

  void CheckSortIndex(const SortIndexInfo& info) {
    const auto& index = info.GetIndex();
    const auto anyKeyHas = [&index](std::string_view bytes) {
      return std::ranges::any_of(
          index, [bytes](const auto& pair) { return pair.GetKeyValue().find_first_of(bytes) != std::string::npos; });
    };
    const std::array delimiters{groupDelimiterChar, unitDelimiterChar};
    if (info.GetIndexKeys().empty() != index.empty()) {
      m_losses.Note("sort_keys and sort_index need each other: a system file does not keep one alone");
    } else if (anyKeyHas({delimiters.data(), delimiters.size()})) {
      throw ToolError("the sort index has a key with a byte that ends the text in a system file", m_path);
    } else if (anyKeyHas(kWhiteSpace)) {
      m_losses.Note("sort_index contains white space: a system file keeps it only up to there");
    }
  }

  QUAV_DataSource& m_dictionary;
  const QUAV_DataSource& m_source;
  const std::string& m_encoding;
  const std::string& m_path;
  char m_blank;  // in the encoding of the file
  CarriedText m_text;
  Losses m_losses;
  // From the maps of the dictionary to the new ones; null for a map that fits.
  std::map<const QUAV_VLMapImpl*, QUAV_VLImplPointer> m_labelMaps;
};

}  // namespace

Losses FitDictionary(QUAV_DataSource& dictionary, const QUAV_DataSource& source, const TextEncodings& encodings,
                     const std::string& path) {
  return Fitter(dictionary, source, encodings, path).Fit();
}

void CountMissingValues(const QUAV_DataSource& source, const std::string& encoding, Losses& losses) {
  const QUAV_DataSource* file = &source;
  while (file->GetParentSource() != nullptr) file = file->GetParentSource();
  // A view may have some of the columns only, in any order.
  std::map<LocallyUniqueID, int> counts;  // of the variables that have any
  for (int column = 0; column < static_cast<int>(file->ColumnCount()); ++column) {
    const QUAV_Variable& variable = file->GetVariable(column);
    if (const int count = MissingCount(variable); count != 0) counts.emplace(variable.GetID(), count);
  }
  long long lost = 0;
  for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column) {
    const QUAV_Variable& variable = source.GetVariable(column);
    if (const auto found = counts.find(variable.GetID()); found != counts.end())
      lost += found->second - MissingCount(variable);
  }
  losses.Add("missing values of strings that do not fit into 8 bytes in " + encoding, lost);
}

void CountLostMembers(const SystemFileDataSource& file, Losses& losses) {
  std::set<LocallyUniqueID> lost;
  for (int column = 0; column < static_cast<int>(file.ColumnCount()); ++column) {
    const QUAV_Variable& variable = file.GetVariable(column);
    if (IsAscii(variable.GetName())) continue;
    std::array<char, kMaxVariableName + 1> shortName{};
    file.GetCompatName(variable.GetName(), shortName.data());
    const std::string name = QUAVMBstrupr_A(shortName.data());
    if (QUAVMBstrupr_A(QUAVMBstrlwr_A(name)) != name) lost.insert(variable.GetID());
  }
  if (lost.empty()) return;
  long long nMembers = 0;
  const auto count = [&](const VariableSetImpl& set) {
    nMembers += std::ranges::count_if(set.members, [&](const LocallyUniqueID id) { return lost.contains(id); });
  };
  std::ranges::for_each(file.GetVariableSets(), count);
  for (const VariableSetImpl& set : file.GetMRSets()) {
    const bool keepsNames = set.type == VariableSet::kDichotomy && set.useVariableCategoryLabels;
    if (!keepsNames) count(set);
  }
  losses.Add("members of sets that are not kept, because their names do not come back from lower case", nMembers);
}

}  // namespace tool
