#include "tools/statistics/StatisticsJson.h"

#include <string_view>

#include "Columns/text/JsonText.h"
#include "Columns/text/NumberText.h"
#include "Columns/text/ShownText.h"

namespace tool {

using namespace dstext;

namespace {

class JsonWriter {
 public:
  JsonWriter(const OpenedSource& source, const Statistics& statistics, Output& output)
      : m_data(*source.data),
        m_statistics(statistics),
        m_output(output),
        m_out(output.Text()),
        m_shownText(source.file->CharacterEncoding()) {}

  void Write() {
    m_out += "{\n  \"cases\": ";
    AppendInteger(m_out, m_statistics.cases);
    m_out += ",\n  \"weight\": ";
    if (m_statistics.weight)
      AppendJsonString(m_out, Name(*m_statistics.weight));
    else
      m_out += "null";
    m_out += ",\n  \"variables\": [";
    for (std::size_t i = 0; i < m_statistics.variables.size(); ++i) {
      m_out += i == 0 ? "\n    " : ",\n    ";
      Variable(m_statistics.columns[i], m_statistics.variables[i]);
      m_output.Settle();
    }
    m_out += m_statistics.variables.empty() ? "]\n}\n" : "\n  ]\n}\n";
  }

 private:
  std::string_view Name(int column) { return m_shownText.Valid(m_data.GetVariable(column).GetName()); }

  void Variable(int column, const VariableStatistics& figures) {
    m_out += "{\"name\": ";
    AppendJsonString(m_out, Name(column));
    Count("n", figures.n);
    Count("system_missing", figures.systemMissing);
    Count("user_missing", figures.userMissing);
    Count("blank", figures.isNumber ? std::nullopt : std::optional(figures.blank));
    if (figures.isNumber) {
      Number("min", figures.min);
      Number("max", figures.max);
    } else {
      Text("min", figures.minText);
      Text("max", figures.maxText);
    }
    Number("mean", figures.mean);
    Number("sd", figures.deviation);
    Number("sum", figures.sum);
    Count("distinct", figures.distinct);
    Member("values");
    if (figures.values)
      Values(figures);
    else
      m_out += "null";
    m_out += '}';
  }

  void Values(const VariableStatistics& figures) {
    m_out += '[';
    for (const ValueCount& value : *figures.values) {
      m_out += &value == &figures.values->front() ? "\n      {\"value\": " : ",\n      {\"value\": ";
      if (figures.isNumber)
        Number(value.number);
      else
        AppendJsonString(m_out, value.text);
      Text("label", value.label);
      Count("n", value.n);
      Number("weighted", value.weighted);
      Member("missing");
      m_out += value.isMissing ? "true}" : "false}";
      m_output.Settle();
    }
    m_out += figures.values->empty() ? "]" : "\n    ]";
  }

  void Member(std::string_view name) {
    m_out += ", \"";
    m_out += name;
    m_out += "\": ";
  }
  void Count(std::string_view name, std::optional<long long> count) {
    Member(name);
    if (count)
      AppendInteger(m_out, *count);
    else
      m_out += "null";
  }
  void Text(std::string_view name, const std::optional<std::string>& text) {
    Member(name);
    if (text)
      AppendJsonString(m_out, *text);
    else
      m_out += "null";
  }
  void Number(std::string_view name, std::optional<double> number) {
    Member(name);
    if (number)
      Number(*number);
    else
      m_out += "null";
  }
  void Number(double number) {
    if (const std::string_view name = NonFiniteName(number); !name.empty())
      AppendJsonString(m_out, name);
    else
      AppendNumber(m_out, number);
  }

  const QUAV_DataSource& m_data;
  const Statistics& m_statistics;
  Output& m_output;
  std::string& m_out;
  ShownText m_shownText;
};

}  // namespace

void WriteStatisticsJson(const OpenedSource& source, const Statistics& statistics, Output& output) {
  JsonWriter(source, statistics, output).Write();
}

}  // namespace tool
