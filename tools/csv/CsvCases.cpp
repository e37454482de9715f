#include "tools/csv/CsvCases.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <utility>

#include "Columns/cells/CellFiller.h"
#include "Columns/text/DifferenceList.h"
#include "Platform/text/QUAVMB.h"
#include "tools/csv/CsvNames.h"
#include "tools/csv/DecimalMark.h"
#include "tools/messages/ToolError.h"
#include "tools/text/TerminalText.h"

namespace tool {

namespace {

constexpr int kNoColumn = -1;

bool AreNames(const std::vector<std::string>& names, const QUAV_DataSource& dictionary) {
  if (names.size() != dictionary.ColumnCount()) return false;
  for (std::size_t i = 0; i < names.size(); ++i)
    if (QUAVMBstrupr_A(names[i]) != dictionary.GetVariable(static_cast<int>(i)).GetUpperCaseName()) return false;
  return true;
}

// Finds the column of the dictionary for each field of the header.
class ColumnFinder {
 public:
  ColumnFinder(const QUAV_DataSource& dictionary, const CsvReader& reader)
      : m_dictionary(dictionary), m_reader(reader) {
    for (int column = 0; column < static_cast<int>(dictionary.ColumnCount()); ++column)
      m_columns.emplace(dictionary.GetVariable(column).GetUpperCaseName(), column);
  }

  std::vector<int> Find(const std::vector<std::string>& header, bool areNames) {
    std::vector<int> columns;
    if (!areNames) RefuseWrongCount(m_reader, m_dictionary.ColumnCount());
    if (!areNames || AreNames(MendedNames(header), m_dictionary)) {
      for (std::size_t i = 0; i < header.size(); ++i) columns.push_back(static_cast<int>(i));
      return columns;
    }
    for (const std::string& name : header) columns.push_back(Take(name));
    AddMissingColumns();
    if (!m_differences.IsEmpty()) m_reader.Fail(m_differences.Text());
    return columns;
  }

 private:
  // Returns kNoColumn for a name that does not fit.
  int Take(const std::string& name) {
    const auto found = m_columns.find(QUAVMBstrupr_A(name));
    if (found == m_columns.end()) {
      m_differences.Add("the header names " + name + ", which is not a variable");
      return kNoColumn;
    }
    if (found->second == kNoColumn) m_differences.Add("the header names " + name + " twice");
    return std::exchange(found->second, kNoColumn);
  }

  void AddMissingColumns() {
    for (int column = 0; column < static_cast<int>(m_dictionary.ColumnCount()); ++column) {
      const QUAV_Variable& variable = m_dictionary.GetVariable(column);
      if (m_columns.at(variable.GetUpperCaseName()) != kNoColumn)
        m_differences.Add(std::string("the header has no column for the variable ") + variable.GetName());
    }
  }

  const QUAV_DataSource& m_dictionary;
  const CsvReader& m_reader;
  std::unordered_map<std::string, int> m_columns;  // keyed by the name in upper case; kNoColumn when it is taken
  dstext::DifferenceList m_differences;
};

}  // namespace

// Fills the cells of a case from a record. One thread at a time uses it, as it does a converter.
class CsvCases::Filler {
 public:
  Filler(const QUAV_DataSource& dictionary, const std::vector<int>& columns, const dstext::FillRules& rules,
         char decimal)
      : m_mark(decimal) {
    for (const int column : columns) m_fillers.emplace_back(dictionary, column, rules);
  }

  // Returns false for a value that cannot be stored.
  bool Fill(const CsvReader& reader, OBS* cells) {
    const std::vector<std::string_view>& fields = reader.Fields();
    for (std::size_t i = 0; i < fields.size(); ++i) {
      const dstext::CellFiller& filler = m_fillers[i];
      const std::string_view text = filler.IsNumber() ? m_mark.WithPoint(fields[i]) : fields[i];
      if (const char* const trouble = filler.Store(text, cells)) {
        m_field = i;
        m_trouble = trouble;
        return false;
      }
    }
    return true;
  }
  void FillWithNothing(OBS* cells) const {
    for (const dstext::CellFiller& filler : m_fillers) filler.StoreNothing(cells);
  }
  // Says why the reader's record could not be stored.
  [[noreturn]] void Refuse(const CsvReader& reader) const {
    reader.Fail("the value '" + ShortValue(reader.Fields()[m_field]) + "' of " + m_fillers[m_field].Name() + " " +
                m_trouble);
  }

 private:
  DecimalMark m_mark;
  std::vector<dstext::CellFiller> m_fillers;  // in the order of the fields
  std::size_t m_field = 0;                    // that could not be stored
  const char* m_trouble = nullptr;
};

// Keeps the cases of a block.
class CsvCases::BlockFiller final : public RecordTaker {
 public:
  BlockFiller(CsvCases& cases, std::unique_ptr<Filler> filler)
      : m_cases(cases), m_filler(std::move(filler)), m_cellsPerCase(cases.m_cells.size()) {}

  void Clear() override {
    m_cells.clear();
    m_next = 0;
  }
  bool Take(const CsvReader& reader) override {
    m_cells.resize(m_cells.size() + m_cellsPerCase);
    if (m_filler->Fill(reader, m_cells.data() + m_cells.size() - m_cellsPerCase)) return true;
    m_cells.resize(m_cells.size() - m_cellsPerCase);
    return false;
  }
  void Refuse(const CsvReader& reader) override { m_filler->Refuse(reader); }
  bool IsFull() const override { return m_cells.size() >= kMostCells; }
  void Deliver(long long blankLines) override {
    m_emptyCases = blankLines;
    m_cases.m_block = this;
  }

  // Copies the next case. Returns false after the last one.
  bool Next(OBS* cells) {
    if (m_emptyCases > 0) {
      --m_emptyCases;
      m_filler->FillWithNothing(cells);
      return true;
    }
    if (m_next == m_cells.size()) return false;
    std::copy_n(m_cells.data() + m_next, m_cellsPerCase, cells);
    m_next += m_cellsPerCase;
    return true;
  }

 private:
  static constexpr std::size_t kMostCells = 256UL * 1024;  // of a block: short texts may make wide cases

  CsvCases& m_cases;
  std::unique_ptr<Filler> m_filler;
  std::size_t m_cellsPerCase;
  std::vector<OBS> m_cells;
  std::size_t m_next = 0;  // the first cell that is not delivered
  long long m_emptyCases = 0;
};

CsvCases::CsvCases(std::unique_ptr<InputBytes> input, const CsvDialect& dialect, const QUAV_DataSource& dictionary,
                   const TextRules& rules, long long count, const BlockWork& work)
    : m_input(std::move(input)),
      m_dialect(dialect),
      m_reader(*m_input, dialect),
      m_work(work),
      m_dictionary(dictionary),
      m_rules(rules),
      m_hasFirst(!dialect.hasHeader),
      m_cells(dictionary.GetObsAreaSize()),
      m_count(count) {
  const std::vector<std::string> header = ReadHeader(m_reader, dialect, m_input->Name());
  m_columns = ColumnFinder(dictionary, m_reader).Find(header, dialect.hasHeader);
  m_filler = MakeFiller();
}

CsvCases::~CsvCases() = default;

std::unique_ptr<CsvCases::Filler> CsvCases::MakeFiller() const {
  return std::make_unique<Filler>(m_dictionary, m_columns, m_rules.ForFillers(), m_dialect.decimal);
}

bool CsvCases::Next() {
  if (m_work.HasThreads() && !m_hasFirst && !m_reader.IsHolding()) return NextOfBlocks();
  if (!m_hasFirst && !m_reader.Next()) return false;
  m_hasFirst = false;
  RefuseWrongCount(m_reader, m_columns.size());
  if (!m_filler->Fill(m_reader, m_cells.data())) m_filler->Refuse(m_reader);
  return true;
}

bool CsvCases::NextOfBlocks() {
  if (!m_blocks)
    m_blocks.emplace(*m_input, m_reader, m_dialect, m_columns.size(), m_work,
                     [this] { return std::make_unique<BlockFiller>(*this, MakeFiller()); });
  while (m_block == nullptr || !m_block->Next(m_cells.data())) {
    m_block = nullptr;
    if (!m_blocks->DeliverNext()) return false;
  }
  return true;
}

}  // namespace tool
