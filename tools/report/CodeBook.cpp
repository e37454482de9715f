#include "tools/report/CodeBook.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "Columns/dictionary/CarriedText.h"
#include "Columns/dictionary/DictionaryFacts.h"
#include "Columns/text/NumberText.h"
#include "Columns/text/ShownText.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/DSDocument.h"
#include "tools/report/Html.h"
#include "tools/report/PageParts.h"
#include "tools/report/ValueTable.h"
#include "tools/statistics/ReadableFigures.h"
#include "tools/text/FormatName.h"

namespace tool {

using namespace dstext;

namespace {

constexpr std::size_t kPageSize = 50'000;  // bytes
constexpr std::size_t kVariableSize = 2'000;
// How many values the tables show: the first number with which the page is small enough, or else the last.
constexpr std::array<std::size_t, 8> kTableLimits{500, 200, 100, 50, 30, 20, 15, 10};

constexpr double kChartWidth = 240;
constexpr double kChartHeight = 60;

constexpr std::array kMeasures{"", "nominal", "ordinal", "scale"};
constexpr std::array kRoles{"input", "target", "both", "none", "partition", "split"};

template <class Words>
std::string_view WordOf(const Words& words, int number) {
  return 0 <= number && number < static_cast<int>(words.size()) ? words[static_cast<std::size_t>(number)] : "other";
}

class Writer {
 public:
  explicit Writer(const CodeBookContents& contents)
      : m_contents(contents),
        m_data(*contents.source.data),
        m_file(*contents.source.file),
        m_statistics(contents.statistics),
        m_shownText(m_file.CharacterEncoding()),
        m_carried(m_file.CharacterEncoding(), kUtf8Name),
        m_members(m_data) {}

  void Write(Output& output) {
    Head();
    Facts();
    if (!m_statistics.variables.empty()) Index();
    const std::string before = std::exchange(m_out, {});
    Documents();
    Sets("Variable sets", "sets", m_data.GetVariableSets());
    Sets("Multiple response sets", "responses", m_data.GetMRSets());
    FileAttributes();
    End();
    const std::string after = std::exchange(m_out, {});
    const std::string variables = Variables(before.size() + after.size());
    for (const std::string* const part : {&before, &variables, &after}) {
      output.Text() += *part;
      output.Settle();
    }
  }

 private:
  // ---- Text ----

  void Text(std::string_view text) { AppendHtml(m_out, m_shownText.Valid(text)); }
  void Line(std::string line) {
    m_carried.ConvertLine(line);
    Text(WithoutTrailingBlanks(line));
  }
  void Fact(std::string_view title, std::string_view value) {
    m_out += "<div><dt>";
    m_out += title;
    m_out += "<dd dir=auto>";
    Text(value);
    m_out += "</div>";
  }
  // A figure with its exact value for programs.
  void Figure(std::string_view title, double number, const std::string& readable) {
    m_out += "<div><dt>";
    m_out += title;
    m_out += "<dd><data value=\"";
    if (const std::string_view name = NonFiniteName(number); !name.empty())
      m_out += name;
    else
      AppendNumber(m_out, number);
    m_out += "\">";
    AppendHtml(m_out, readable);
    m_out += "</data></div>";
  }

  // ---- The file ----

  std::string Title() const {
    const char* const label = m_data.GetLabel();
    return label != nullptr && *label != '\0' ? label : m_contents.fileName;
  }

  void Head() {
    m_out += "<!DOCTYPE html>\n<html lang=en>\n<head>\n<meta charset=utf-8>\n";
    m_out += "<meta name=viewport content=\"width=device-width, initial-scale=1\">\n";
    m_out += "<meta http-equiv=Content-Security-Policy content=\"";
    m_out += kPagePolicy;
    m_out += "\">\n<title>";
    Text(Title());
    m_out += " - code book</title>\n<style>";
    m_out += kPageStyle;
    m_out += "</style>\n</head>\n<body>\n<a class=skip href=#main>Skip to the variables</a>\n";
    m_out += "<header>\n<p class=t>Code book\n<h1 dir=auto>";
    Text(Title());
    m_out += "</h1>\n";
    Navigation();
    m_out += "</header>\n";
  }

  void Navigation() {
    const auto link = [this](bool isThere, std::string_view target, std::string_view title) {
      if (!isThere) return;
      m_out += "<li><a href=#";
      m_out += target;
      m_out += '>';
      m_out += title;
      m_out += "</a>";
    };
    m_out += "<nav aria-label=\"Parts of the page\"><ul>";
    link(true, "file", "The file");
    link(!m_statistics.variables.empty(), "variables", "List of variables");
    link(!m_statistics.variables.empty(), "main", "Each variable");
    link(!GetDocuments(m_data).empty(), "documents", "Documents");
    link(!m_data.GetVariableSets().empty(), "sets", "Variable sets");
    link(!m_data.GetMRSets().empty(), "responses", "Multiple response sets");
    link(m_data.GetAttributes().Size() != 0, "attributes", "Attributes");
    m_out += "</ul></nav>\n";
  }

  void Facts() {
    m_out += "<h2 id=file>The file</h2>\n<dl>";
    Fact("File", m_contents.fileName);
    Fact("Cases", ReadableCount(m_statistics.cases));
    Fact("Variables", ReadableCount(static_cast<long long>(m_data.ColumnCount())));
    if (m_statistics.weight) {
      Fact("Weight", m_data.GetVariable(*m_statistics.weight).GetName());
      if (m_statistics.uncounted != 0)
        Fact("Cases without a positive weight, which count for nothing", ReadableCount(m_statistics.uncounted));
    }
    Fact("Written", TimestampText(m_data.GetTimestamp()));
    Fact("Written by", m_file.EyeCatcher());
    Fact("Encoding", m_file.CharacterEncoding());
    Fact("Compression", CompressionName(m_file.GetCompressionLevel()));
    if (m_file.IsEncrypted()) Fact("Encrypted", "yes");
    m_out += "</dl>\n";
  }

  void Index() {
    m_out +=
        "<h2 id=variables>List of variables</h2>\n<div id=s role=search hidden><label for=q>Search the "
        "variables</label>"
        "<input id=q type=search autocomplete=off><output id=c for=q></output></div>\n"
        "<table class=x><caption>All variables, in the order of the file</caption><thead><tr><th scope=col>#"
        "<th scope=col>Name<th scope=col>Label<th scope=col class=n>Valid<th scope=col class=n>Missing<tbody>\n";
    for (std::size_t i = 0; i < m_statistics.variables.size(); ++i) {
      const QUAV_Variable& variable = m_data.GetVariable(m_statistics.columns[i]);
      const VariableStatistics& figures = m_statistics.variables[i];
      const std::string number = std::to_string(i + 1);
      m_out += "<tr><td>" + number + "<td dir=auto><a href=#v" + number + ">";
      Text(variable.GetName());
      m_out += "</a><td dir=auto>";
      if (variable.GetLabel() != nullptr) Text(variable.GetLabel());
      m_out += "<td>" + ReadableCount(figures.n) + "<td>" + ReadableCount(figures.systemMissing + figures.userMissing);
      m_out += '\n';
    }
    m_out += "</table>\n";
  }

  void End() {
    m_out += "</main>\n<footer><p class=t>Made by datasrc from the file of ";
    Text(TimestampText(m_data.GetTimestamp()));
    m_out += ".</footer>\n<script>";
    m_out += kPageScript;
    m_out += "</script>\n</body>\n</html>\n";
  }

  // ---- Variables ----

  std::string Variables(std::size_t otherSize) {
    const std::size_t size = kPageSize + kVariableSize * m_statistics.variables.size();
    for (const std::size_t limit : kTableLimits) {
      m_out = "<main id=main>\n";
      if (!m_statistics.variables.empty()) m_out += "<h2>Each variable</h2>\n";
      for (std::size_t i = 0; i < m_statistics.variables.size(); ++i) Variable(i, limit);
      if (m_out.size() + otherSize <= size) break;
    }
    return std::exchange(m_out, {});
  }

  void Variable(std::size_t i, std::size_t tableLimit) {
    const QUAV_Variable& variable = m_data.GetVariable(m_statistics.columns[i]);
    const VariableStatistics& figures = m_statistics.variables[i];
    const std::string number = std::to_string(i + 1);
    m_out += "<section id=v" + number + "><h3 dir=auto><small>" + number + "</small> ";
    Text(variable.GetName());
    m_out += "</h3>";
    if (variable.GetLabel() != nullptr) {
      m_out += "<p dir=auto>";
      Text(variable.GetLabel());
    }
    m_out += "<p class=t dir=auto>";
    Properties(variable);
    Figures(variable, figures);
    if (const auto values = TableValues(figures); !values.empty()) ValueTable(variable, figures, values, tableLimit);
    if (!m_contents.histograms[i].weights.empty()) Chart(variable, m_contents.histograms[i]);
    m_out += "</section>\n";
  }

  void Properties(const QUAV_Variable& variable) {
    const int type = variable.GetType();
    m_out += type == 0 ? "Number" : "Text of " + std::to_string(type) + " bytes";
    m_out += ", format " + FormatName(variable.GetFormat());
    if (const std::string_view measure = WordOf(kMeasures, variable.GetMeasurementLevel()); !measure.empty()) {
      m_out += ", ";
      m_out += measure;
    }
    m_out += ", role ";
    m_out += WordOf(kRoles, variable.GetRole());
    Missing(variable);
    const DatasourceAttributes& attributes = variable.GetAttributes();
    if (attributes.Size() != 0) m_out += "<p class=t dir=auto>Attributes: ";
    for (unsigned long k = 0; k < attributes.Size(); ++k) {
      if (k != 0) m_out += "; ";
      Text(attributes.Name(k));
      m_out += " = ";
      Joined(attributes.Values(k));
    }
  }

  void Joined(const std::vector<std::string>& parts) {
    for (const std::string& part : parts) {
      if (&part != &parts.front()) m_out += ", ";
      Text(part);
    }
  }

  void Missing(const QUAV_Variable& variable) {
    int code = 0;
    const std::vector<const OBS*> values = MissingValues(variable, &code);
    for (std::size_t k = 0; k < values.size(); ++k) {
      const bool isRangeEnd = code < 0 && k == 1;
      m_out += k == 0 ? ", missing " : isRangeEnd ? " to " : ", ";
      if (variable.GetType() != 0) {
        Text(WithoutTrailingBlanks({CellText(values[k]), sizeof(OBS)}));
      } else if (const std::string_view openEnd = OpenEndName(*values[k]); !openEnd.empty() && code < 0) {
        m_out += openEnd;
      } else {
        AppendHtml(m_out, ReadableValue(variable.GetFormat(), CellNumber(*values[k])));
      }
    }
  }

  void Figures(const QUAV_Variable& variable, const VariableStatistics& figures) {
    const QUAV_Format format = variable.GetFormat();
    m_out += "<dl>";
    Fact("Valid", ReadableCount(figures.n));
    Fact("Missing", MissingCounts(figures));
    if (!figures.isNumber && figures.blank != 0) Fact("Blank", ReadableCount(figures.blank));
    Fact("Distinct",
         figures.distinct ? ReadableCount(*figures.distinct) : "more than " + ReadableCount(kMostDistinctValues));
    if (figures.min) Figure("Minimum", *figures.min, ReadableValue(format, *figures.min));
    if (figures.max) Figure("Maximum", *figures.max, ReadableValue(format, *figures.max));
    if (figures.mean) Figure("Mean", *figures.mean, ReadableMean(format, *figures.mean));
    if (figures.deviation)
      Figure("Standard deviation", *figures.deviation, ReadableDeviation(format, *figures.deviation));
    m_out += "</dl>";
  }

  static std::string MissingCounts(const VariableStatistics& figures) {
    if (figures.userMissing == 0) return ReadableCount(figures.systemMissing);
    if (!figures.isNumber) return ReadableCount(figures.userMissing);
    return ReadableCount(figures.userMissing + figures.systemMissing) + " (" + ReadableCount(figures.systemMissing) +
           " system)";
  }

  void ValueTable(const QUAV_Variable& variable, const VariableStatistics& figures,
                  const std::vector<const ValueCount*>& values, std::size_t limit) {
    m_out += "<table class=v><caption>Values of ";
    Text(variable.GetName());
    m_out += "</caption><thead><tr><th scope=col>Value<th scope=col>Label<th scope=col class=n>N";
    if (m_statistics.weight) m_out += "<th scope=col class=n>Weighted";
    m_out += "<th scope=col class=n>Valid %<td><tbody>\n";
    double most = 0;
    for (const ValueCount* const value : values)
      if (!value->isMissing) most = std::max(most, value->weighted);
    const std::vector<std::size_t> shown = MostFrequent(values, limit);
    for (const std::size_t place : shown) ValueRow(variable, figures, *values[place], most);
    m_out += "</table>";
    if (shown.size() < values.size())
      m_out += "<p class=t>The most frequent of " + ReadableCount(static_cast<long long>(values.size())) + " values.";
  }

  void ValueRow(const QUAV_Variable& variable, const VariableStatistics& figures, const ValueCount& value,
                double most) {
    m_out += value.isMissing ? "<tr class=m><td" : "<tr><td";
    if (figures.isNumber) {
      m_out += '>';
      AppendHtml(m_out, ReadableValue(variable.GetFormat(), value.number));
    } else if (value.text.empty()) {
      m_out += "><i>blank</i>";
    } else {
      m_out += " dir=auto>";
      AppendHtml(m_out, value.text);
    }
    m_out += "<td dir=auto>";
    if (value.label) AppendHtml(m_out, *value.label);
    m_out += "<td>" + ReadableCount(value.n);
    if (m_statistics.weight) m_out += "<td>" + ReadableWeight(value.weighted);
    if (value.isMissing) {
      m_out += "<td>missing<td>\n";
      return;
    }
    m_out += "<td>" + ReadablePercent(value.weighted, figures.weight) + "<td>";
    if (value.weighted > 0) {
      m_out += "<svg aria-hidden=true><rect width=\"";
      AppendLength(m_out, 100 * value.weighted / most);
      m_out += "%\"/></svg>";
    }
    m_out += '\n';
  }

  void Chart(const QUAV_Variable& variable, const Histogram& histogram) {
    const double most = *std::ranges::max_element(histogram.weights);
    const double step = kChartWidth / static_cast<double>(histogram.weights.size());
    const std::string count = std::to_string(histogram.weights.size()) +
                              (histogram.weights.size() == 1 ? " bin" : " bins") + ", the fullest with " +
                              ReadableWeight(most);
    m_out += "<figure><svg class=h viewBox=\"0 0 240 60\" preserveAspectRatio=none role=img aria-label=\"Histogram of ";
    Text(variable.GetName());
    m_out += ": " + count + "\"><path d=\"";
    for (std::size_t bin = 0; bin < histogram.weights.size() && most > 0; ++bin) {
      if (histogram.weights[bin] == 0) continue;
      m_out += 'M';
      AppendLength(m_out, static_cast<double>(bin) * step);
      m_out += " 60V";
      AppendLength(m_out, kChartHeight * (1 - histogram.weights[bin] / most));
      m_out += 'h';
      AppendLength(m_out, step * 0.9);
      m_out += "V60z";
    }
    m_out += "\"/></svg><figcaption><span>";
    AppendHtml(m_out, Edge(variable, histogram.start));
    m_out += "</span><span>" + count + "</span><span>";
    AppendHtml(m_out, Edge(variable, histogram.End()));
    m_out += "</span></figcaption></figure>";
  }

  static std::string Edge(const QUAV_Variable& variable, double number) {
    return ReadableMean(variable.GetFormat(), number);
  }

  // ---- What belongs to the file as a whole ----

  void Documents() {
    const std::vector<DSDocument> documents = GetDocuments(m_data);
    if (documents.empty()) return;
    m_out += "<h2 id=documents>Documents</h2>\n";
    for (const DSDocument& document : documents) {
      m_out += "<section><h3>" + DateText(document) + "</h3><pre dir=auto>";
      // The last line is the date.
      for (int i = 0; i + 1 < document.Size(); ++i) {
        Line(document[i]);
        m_out += '\n';
      }
      m_out += "</pre></section>\n";
    }
  }

  void Sets(std::string_view title, std::string_view id, const std::vector<VariableSetImpl>& sets) {
    if (sets.empty()) return;
    m_out += "<h2 id=";
    m_out += id;
    m_out += '>';
    m_out += title;
    m_out += "</h2>\n<table><caption>";
    m_out += title;
    m_out += "</caption><thead><tr><th scope=col>Name<th scope=col>Label<th scope=col>Variables<tbody>\n";
    for (const VariableSetImpl& set : sets) {
      m_out += "<tr><td dir=auto>";
      Text(set.name);
      m_out += "<td dir=auto>";
      Text(set.label);
      if (!set.value.empty()) {
        m_out += " (counts ";
        Text(set.value);
        m_out += ')';
      }
      m_out += "<td dir=auto>";
      Joined(m_members.Names(set));
      m_out += '\n';
    }
    m_out += "</table>\n";
  }

  void FileAttributes() {
    const DatasourceAttributes& attributes = m_data.GetAttributes();
    if (attributes.Size() == 0) return;
    m_out +=
        "<h2 id=attributes>Attributes</h2>\n<table><caption>Attributes of the file</caption><thead><tr>"
        "<th scope=col>Name<th scope=col>Values<tbody>\n";
    for (unsigned long k = 0; k < attributes.Size(); ++k) {
      m_out += "<tr><td dir=auto>";
      Text(attributes.Name(k));
      m_out += "<td dir=auto>";
      Joined(attributes.Values(k));
      m_out += '\n';
    }
    m_out += "</table>\n";
  }

  const CodeBookContents& m_contents;
  const QUAV_DataSource& m_data;
  const SystemFileDataSource& m_file;
  const Statistics& m_statistics;
  ShownText m_shownText;
  CarriedText m_carried;
  MemberFinder m_members;
  std::string m_out;
};

}  // namespace

void WriteCodeBook(const CodeBookContents& contents, Output& output) { Writer(contents).Write(output); }

}  // namespace tool
