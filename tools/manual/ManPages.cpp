#include "tools/manual/ManPages.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

namespace tool {

namespace {

constexpr std::array<std::pair<int, std::string_view>, 3> kUsualStatuses{{
    {0, "The work is done."},
    {1, "The work failed."},
    {2, "The command line is wrong."},
}};

// Appends text as it is to be read. Characters that formatters turn into others, such as dashes and quotes, are written so
// that they can be copied into a shell.
void AppendLiteral(std::string& page, std::string_view text) {
  for (const char one : text) {
    switch (one) {
      case '\\':
        page += "\\e";
        break;
      case '-':
        page += "\\-";
        break;
      case '\'':
        page += "\\(aq";
        break;
      case '`':
        page += "\\(ga";
        break;
      case '^':
        page += "\\(ha";
        break;
      case '~':
        page += "\\(ti";
        break;
      // A line that begins with a dot would be a request.
      case '.':
        page += page.empty() || page.back() == '\n' ? "\\&." : ".";
        break;
      default:
        page += one;
    }
  }
}

std::string Bold(std::string_view text) {
  std::string literal;
  AppendLiteral(literal, text);
  return "\\fB" + literal + "\\fP";
}

std::string Italic(std::string_view text) {
  std::string literal;
  AppendLiteral(literal, text);
  return "\\fI" + literal + "\\fP";
}

// Appends text in which backquotes enclose code, which becomes bold.
void AppendProse(std::string& page, std::string_view text) {
  while (true) {
    const std::size_t open = text.find('`');
    const std::size_t close = open == text.npos ? text.npos : text.find('`', open + 1);
    if (close == text.npos) return AppendLiteral(page, text);
    AppendLiteral(page, text.substr(0, open));
    page += Bold(text.substr(open + 1, close - open - 1));
    text.remove_prefix(close + 1);
  }
}

std::vector<std::string_view> Split(std::string_view text, std::string_view separator) {
  std::vector<std::string_view> parts;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(separator), text.size());
    parts.push_back(text.substr(0, end));
    text.remove_prefix(std::min(end + separator.size(), text.size()));
  }
  return parts;
}

// Returns the column at which the explanations of a list of words begin; 0 when the line does not begin such a list.
std::size_t ListColumn(std::string_view line) {
  const std::size_t blank = line.find(' ');
  if (blank == 0 || blank == line.npos) return 0;
  const std::size_t text = line.find_first_not_of(' ', blank);
  return text == line.npos || text < blank + 2 ? 0 : text;
}

void AppendLine(std::string& page, std::string_view text) {
  AppendProse(page, text);
  page += '\n';
}

void AppendList(std::string& page, std::string_view paragraph, std::size_t column) {
  for (std::string_view line : Split(paragraph, "\n")) {
    const std::size_t end = std::min(column, line.size());
    std::string_view word = line.substr(0, end);
    word = word.substr(0, word.find_last_not_of(' ') + 1);
    if (!word.empty()) page += ".TP\n" + Bold(word) + "\n";
    AppendLine(page, line.substr(end));
  }
}

// Appends what separates paragraphs; a section begins with one anyway.
void BeginParagraph(std::string& page) {
  const std::size_t line = page.rfind('\n', page.size() - 2) + 1;
  if (page.compare(line, 3, ".SH") != 0) page += ".PP\n";
}

void AppendParagraphs(std::string& page, std::string_view text) {
  for (const std::string_view paragraph : Split(text, "\n\n")) {
    if (const std::size_t column = ListColumn(paragraph.substr(0, paragraph.find('\n'))); column != 0) {
      AppendList(page, paragraph, column);
      continue;
    }
    BeginParagraph(page);
    AppendLine(page, paragraph);
  }
}

void AppendOptions(std::string& page, const std::vector<OptionDescription>& options) {
  for (const OptionDescription& option : options) {
    page += ".TP\n";
    for (std::size_t i = 0; i < option.names.size(); ++i) page += (i == 0 ? "" : ", ") + Bold(option.names[i]);
    if (!option.type.empty()) page += " " + Italic(option.type);
    page += '\n';
    AppendLine(page, option.help.ends_with(',') ? option.help : option.help + ".");
    if (option.choices.empty()) continue;
    page += "One of ";
    for (std::size_t i = 0; i < option.choices.size(); ++i) page += (i == 0 ? "" : ", ") + Bold(option.choices[i]);
    page += ".\n";
  }
}

std::string Upper(std::string text) {
  std::ranges::transform(text, text.begin(), [](unsigned char one) { return static_cast<char>(std::toupper(one)); });
  return text;
}

// `about` is a sentence; a line of the index of pages is none.
void AppendStart(std::string& page, const ToolDescription& tool, const std::string& name, std::string about) {
  // No date: the same sources make the same page.
  page += ".TH " + Upper(name) + " 1 \"\" \"" + tool.version + "\" \"User commands\"\n.SH NAME\n";
  AppendLiteral(page, name);
  about.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(about.front())));
  if (about.ends_with('.')) about.pop_back();
  page += " \\- ";
  AppendLiteral(page, about);
  page += "\n.SH SYNOPSIS\n";
}

void AppendExitStatuses(std::string& page, const std::vector<ExitStatusDescription>& unusual) {
  page += ".SH EXIT STATUS\n";
  for (const auto& [status, usual] : kUsualStatuses) {
    const auto found = std::ranges::find(unusual, status, &ExitStatusDescription::status);
    page += ".TP\n" + Bold(std::to_string(status)) + "\n";
    AppendLine(page, found == unusual.end() ? usual : std::string_view(found->meaning));
  }
}

std::string PageOf(const ToolDescription& tool, const CommandDescription& command) {
  return tool.name + "-" + command.name;
}

std::string Reference(const std::string& page) { return Bold(page) + "(1)"; }

}  // namespace

std::string ToolPage(const ToolDescription& tool) {
  std::string page;
  AppendStart(page, tool, tool.name, tool.about);
  page += Bold(tool.name) + " [" + Italic("options") + "] " + Italic("command") + " [" + Italic("arguments") + "]\n";
  page += ".SH DESCRIPTION\n";
  AppendLine(page, tool.about);
  page += ".PP\nEach command has a page of its own.\n.SH COMMANDS\n";
  for (const CommandDescription& command : tool.commands) {
    page += ".TP\n" + Reference(PageOf(tool, command)) + "\n";
    AppendLine(page, command.about);
  }
  page += ".SH OPTIONS\nThese options are for all commands, before or after their name.\n";
  AppendOptions(page, tool.options);
  page += ".PP\nThis option stands alone.\n";
  AppendOptions(page, {tool.versionOption});
  AppendExitStatuses(page, {});
  page +=
      ".PP\nA failure prints one line on standard error. When the reader of a pipe closes it early, that is no "
      "failure.\n"
      ".SH ENVIRONMENT\n"
      ".TP\n\\fBNO_COLOR\\fP\nWith any value, no colours without \\fB\\-\\-color always\\fP.\n"
      ".TP\n\\fBTMPDIR\\fP\nThe directories of temporary files, which are enciphered.\n";
  return page;
}

std::string CommandPage(const ToolDescription& tool, const CommandDescription& command) {
  std::string page;
  AppendStart(page, tool, PageOf(tool, command), command.about);
  page += Bold(tool.name + " " + command.name) + " [" + Italic("options") + "]";
  for (const ArgumentDescription& argument : command.arguments) {
    const std::string name = Italic(argument.name) + (argument.mayRepeat ? "..." : "");
    page += argument.isRequired ? " " + name : " [" + name + "]";
  }
  page += "\n.SH DESCRIPTION\n";
  AppendLine(page, command.about);
  for (const ArgumentDescription& argument : command.arguments) {
    page += ".TP\n" + Italic(argument.name) + "\n";
    AppendLine(page, argument.help + ".");
  }
  if (!command.options.empty()) page += ".SH OPTIONS\n";
  AppendOptions(page, command.options);
  page += (command.options.empty() ? ".SH OPTIONS\n" : ".PP\n");
  page += "The options for all commands are in " + Reference(tool.name) + ".\n";
  if (!command.footer.empty()) {
    page += ".SH DETAILS\n";
    AppendParagraphs(page, command.footer);
  }
  page += ".SH EXAMPLES\n";
  for (const ExampleDescription& example : command.examples) {
    BeginParagraph(page);
    AppendLine(page, example.meaning + ":");
    page += ".PP\n.RS 4\n.nf\n";
    AppendLiteral(page, example.line);
    page += "\n.fi\n.RE\n";
  }
  AppendExitStatuses(page, command.exitStatuses);
  page += ".SH SEE ALSO\n" + Reference(tool.name) + "\n";
  return page;
}

}  // namespace tool
