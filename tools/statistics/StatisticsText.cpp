#include "tools/statistics/StatisticsText.h"

#include <string_view>
#include <utility>

#include "Columns/text/ShownText.h"
#include "tools/statistics/ReadableFigures.h"
#include "tools/text/TerminalText.h"
#include "tools/text/TextTable.h"

namespace tool {

using namespace dstext;

namespace {

constexpr std::size_t kFactTitleWidth = 9;
constexpr int kWeightedColumn = 3;       // of the table of values
constexpr std::size_t kWidestText = 24;  // columns of a text in the table of the variables

class TextWriter {
 public:
  TextWriter(const OpenedSource& source, const Statistics& statistics, Output& output)
      : m_data(*source.data),
        m_statistics(statistics),
        m_output(output),
        m_shownText(source.file->CharacterEncoding()) {}

  void Write(bool values) {
    Facts();
    if (m_statistics.variables.empty()) return;
    m_output.Text() += '\n';
    Variables();
    if (!values) return;
    for (std::size_t i = 0; i < m_statistics.variables.size(); ++i) Values(i);
  }

 private:
  const QUAV_Variable& Variable(std::size_t i) const { return m_data.GetVariable(m_statistics.columns[i]); }
  std::string Text(std::string_view text) { return OneLine(m_shownText.Valid(text)); }

  void Fact(std::string_view title, const std::string& text) {
    m_output.Text() += title;
    m_output.Text().append(kFactTitleWidth - title.size(), ' ');
    m_output.Text() += text + "\n";
  }

  void Facts() {
    Fact("Cases", ReadableCount(m_statistics.cases));
    if (!m_statistics.weight) return;
    const std::string name = Text(m_data.GetVariable(*m_statistics.weight).GetName());
    const std::string uncounted = "  (cases without a positive weight, which count for nothing: ";
    Fact("Weight", m_statistics.uncounted == 0 ? name : name + uncounted + ReadableCount(m_statistics.uncounted) + ")");
  }

  void Variables() {
    TextTable table({{"Name"},
                     {"N", TextTable::kRight},
                     {"Missing", TextTable::kRight},
                     {"Min", TextTable::kRight},
                     {"Max", TextTable::kRight},
                     {"Mean", TextTable::kRight},
                     {"SD", TextTable::kRight},
                     {"Distinct", TextTable::kRight},
                     {"Label"}});
    std::vector<TextTable::Row> rows;
    for (std::size_t i = 0; i < m_statistics.variables.size(); ++i) {
      rows.push_back(VariableRow(i));
      table.Fit(rows.back());
    }
    Print(table, rows);
  }

  TextTable::Row VariableRow(std::size_t i) {
    const VariableStatistics& figures = m_statistics.variables[i];
    const QUAV_Format format = Variable(i).GetFormat();
    const char* const label = Variable(i).GetLabel();
    const auto value = [&](std::optional<double> number, const std::optional<std::string>& text) {
      if (number) return ReadableValue(format, *number);
      return text ? CutToWidth(OneLine(*text), kWidestText) : std::string();
    };
    return {Text(Variable(i).GetName()),
            ReadableCount(figures.n),
            ReadableCount(figures.systemMissing + figures.userMissing),
            value(figures.min, figures.minText),
            value(figures.max, figures.maxText),
            figures.mean ? ReadableMean(format, *figures.mean) : "",
            figures.deviation ? ReadableDeviation(format, *figures.deviation) : "",
            figures.distinct ? ReadableCount(*figures.distinct) : "> " + ReadableCount(kMostDistinctValues),
            label == nullptr ? "" : Text(label)};
  }

  void Values(std::size_t i) {
    const VariableStatistics& figures = m_statistics.variables[i];
    if (!figures.values) return;
    const char* const label = Variable(i).GetLabel();
    m_output.Text() += "\n" + Text(Variable(i).GetName()) + (label == nullptr ? "" : "  " + Text(label)) + "\n\n";
    std::vector<TextTable::Column> columns{{"Value", figures.isNumber ? TextTable::kRight : TextTable::kLeft},
                                           {"Label"},
                                           {"N", TextTable::kRight},
                                           {"Weighted", TextTable::kRight},
                                           {"Percent", TextTable::kRight},
                                           {"Valid", TextTable::kRight}};
    std::vector<TextTable::Row> rows;
    for (const ValueCount& value : *figures.values) rows.push_back(ValueRow(i, value));
    if (figures.systemMissing != 0) rows.push_back(SystemMissingRow(figures));
    if (!m_statistics.weight) {
      columns.erase(columns.begin() + kWeightedColumn);
      for (TextTable::Row& row : rows) row.erase(row.begin() + kWeightedColumn);
    }
    TextTable table(std::move(columns));
    for (const TextTable::Row& row : rows) table.Fit(row);
    Print(table, rows);
  }

  TextTable::Row ValueRow(std::size_t i, const ValueCount& value) {
    const VariableStatistics& figures = m_statistics.variables[i];
    return {figures.isNumber ? ReadableValue(Variable(i).GetFormat(), value.number) : OneLine(value.text),
            value.label ? OneLine(*value.label) : "",
            ReadableCount(value.n),
            ReadableWeight(value.weighted),
            ReadablePercent(value.weighted, figures.weight + figures.missingWeight),
            value.isMissing ? "missing" : ReadablePercent(value.weighted, figures.weight)};
  }

  TextTable::Row SystemMissingRow(const VariableStatistics& figures) const {
    double weight = figures.missingWeight;
    for (const ValueCount& value : *figures.values)
      if (value.isMissing) weight -= value.weighted;
    return {".",
            "",
            ReadableCount(figures.systemMissing),
            ReadableWeight(weight),
            ReadablePercent(weight, figures.weight + figures.missingWeight),
            "missing"};
  }

  void Print(const TextTable& table, const std::vector<TextTable::Row>& rows) {
    table.AppendHead(m_output.Text());
    for (const TextTable::Row& row : rows) {
      table.AppendRow(m_output.Text(), row);
      m_output.Settle();
    }
  }

  const QUAV_DataSource& m_data;
  const Statistics& m_statistics;
  Output& m_output;
  ShownText m_shownText;
};

}  // namespace

void WriteStatisticsText(const OpenedSource& source, const Statistics& statistics, bool values, Output& output) {
  TextWriter(source, statistics, output).Write(values);
}

}  // namespace tool
