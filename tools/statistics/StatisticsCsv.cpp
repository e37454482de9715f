#include "tools/statistics/StatisticsCsv.h"

#include <string_view>

#include "Columns/text/NumberText.h"
#include "Columns/text/ShownText.h"

namespace tool {

using namespace dstext;

namespace {

constexpr std::string_view kHeader = "name,n,system_missing,user_missing,blank,min,max,mean,sd,sum,distinct\n";

bool NeedsQuotes(std::string_view text) {
  return !text.empty() && (text.front() == ' ' || text.find_first_of(",\"\r\n") != std::string_view::npos);
}

void AppendText(std::string& out, std::string_view text) {
  if (!NeedsQuotes(text)) {
    out += text;
    return;
  }
  out += '"';
  for (const char c : text) out.append(c == '"' ? 2 : 1, c);
  out += '"';
}

// Each of these appends a comma and the field; none is an empty field.
void AppendField(std::string& out, std::optional<long long> count) {
  out += ',';
  if (count) AppendInteger(out, *count);
}

void AppendField(std::string& out, std::optional<double> number) {
  out += ',';
  if (!number) return;
  if (const std::string_view name = NonFiniteName(*number); !name.empty())
    out += name;
  else
    AppendNumber(out, *number);
}

void AppendField(std::string& out, const std::optional<std::string>& text) {
  out += ',';
  if (text) AppendText(out, *text);
}

void AppendLine(std::string& out, std::string_view name, const VariableStatistics& figures) {
  AppendText(out, name);
  AppendField(out, std::optional(figures.n));
  AppendField(out, std::optional(figures.systemMissing));
  AppendField(out, std::optional(figures.userMissing));
  AppendField(out, figures.isNumber ? std::nullopt : std::optional(figures.blank));
  if (figures.isNumber) {
    AppendField(out, figures.min);
    AppendField(out, figures.max);
  } else {
    AppendField(out, figures.minText);
    AppendField(out, figures.maxText);
  }
  AppendField(out, figures.mean);
  AppendField(out, figures.deviation);
  AppendField(out, figures.sum);
  AppendField(out, figures.distinct);
  out += '\n';
}

}  // namespace

void WriteStatisticsCsv(const OpenedSource& source, const Statistics& statistics, Output& output) {
  ShownText shownText(source.file->CharacterEncoding());
  output.Text() += kHeader;
  for (std::size_t i = 0; i < statistics.variables.size(); ++i) {
    const char* const name = source.data->GetVariable(statistics.columns[i]).GetName();
    AppendLine(output.Text(), shownText.Valid(name), statistics.variables[i]);
    output.Settle();
  }
}

}  // namespace tool
