#include "tools/forms/TextCases.h"

#include <numeric>

#include "tools/messages/Losses.h"

namespace tool {

TextCases::TextCases(const QUAV_DataSource& source, const std::vector<int>& indexes, const std::string& encoding,
                     CaseForm form, const CsvDialect& dialect, ShowOptions options, Output& output, TaskPool* pool,
                     std::size_t blockSize)
    : m_output(output),
      m_formatter({source, indexes, encoding, form, dialect, options, output.Name()}),
      m_text(m_formatter.Text()) {
  if (m_text == nullptr) {
    m_table.emplace(m_formatter.Columns(), output);
  } else if (pool != nullptr && pool->Threads() > 1) {
    m_blocks.emplace(ShownForm{source, indexes, encoding, form, dialect, options, output.Name()},
                     source.GetObsAreaSize(), *pool, output, blockSize);
  }
}

void TextCases::Begin() {
  if (m_table) return m_table->Begin();
  m_text->AppendNames(m_output.Text());
  m_output.Settle();
}

void TextCases::WriteCase(const OBS* cells) {
  if (m_blocks) return m_blocks->Add(cells);
  if (m_table) return m_table->WriteCase(cells);
  m_text->AppendCase(m_output.Text(), cells);
  m_output.Settle();
}

bool TextCases::Follow(Progress& progress) {
  if (m_blocks) m_blocks->Follow(progress);
  return m_blocks.has_value();
}

void TextCases::CatchUp() {
  if (m_blocks) m_blocks->Finish();
}

void TextCases::End() {
  if (m_table) return m_table->End();
  CatchUp();
  Losses losses;
  m_text->AddLosses(losses);
  if (m_blocks) m_blocks->AddLosses(losses);
  losses.Report(m_output.Name());
}

long long TextCases::ReplacedTexts() const {
  return m_formatter.ReplacedNames() + m_formatter.ReplacedValues() + (m_blocks ? m_blocks->ReplacedValues() : 0);
}

std::vector<int> AllColumns(const QUAV_DataSource& source) {
  std::vector<int> indexes(source.ColumnCount());
  std::iota(indexes.begin(), indexes.end(), 0);
  return indexes;
}

}  // namespace tool
