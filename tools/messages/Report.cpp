#include "tools/messages/Report.h"

#include <cstdio>

#include "Columns/text/JsonText.h"
#include "Columns/text/ShownText.h"
#include "tools/messages/ToolError.h"
#include "tools/text/TerminalText.h"

namespace tool {

using namespace dstext;

namespace {

constexpr char kNull[] = "null";

long long& Warnings() {
  static long long count = 0;
  return count;
}

std::string Shown(const std::string& text) { return OneLine(ShownText("").Valid(text)); }

// The library knows standard input by a path.
std::string FileName(const ReportedMessage& message) {
  return message.file == "/dev/stdin" ? "standard input" : message.file;
}

std::string PlainLine(const char* level, const ReportedMessage& message) {
  std::string line = std::string("datasrc: ") + level;
  if (message.number) line += " " + std::to_string(*message.number);
  line += ": " + message.text;
  if (!message.file.empty()) line += ": " + FileName(message);
  if (message.place.IsKnown()) line += " (" + message.place.Text() + ")";
  return Shown(line);
}

void AppendMember(std::string& line, const char* name, const std::string& value) {
  line += line.empty() ? "{" : ", ";
  AppendJsonString(line, name);
  line += ": " + value;
}

std::string Quoted(const std::string& text) {
  std::string quoted;
  AppendJsonString(quoted, ShownText("").Valid(text));
  return quoted;
}

std::string JsonPlace(const ReportedMessage& message) {
  const FilePlace& place = message.place;
  if (message.line) return "{\"line\": " + std::to_string(*message.line) + "}";
  if (!place.IsKnown()) return kNull;
  std::string json;
  AppendMember(json, "byte", std::to_string(place.offset));
  AppendMember(json, "record", place.record == 0 ? kNull : std::to_string(place.record));
  AppendMember(json, "subtype", place.subtype ? std::to_string(*place.subtype) : kNull);
  return json + "}";
}

std::string JsonLine(const char* level, const ReportedMessage& message) {
  std::string line;
  AppendMember(line, "level", Quoted(level));
  AppendMember(line, "number", message.number ? std::to_string(*message.number) : kNull);
  AppendMember(line, "text", Quoted(message.text));
  AppendMember(line, "file", message.file.empty() ? kNull : Quoted(FileName(message)));
  AppendMember(line, "place", JsonPlace(message));
  return line + "}";
}

void Report(const char* level, const ReportedMessage& message) {
  const std::string line =
      (PresentReportSettings().isJson ? JsonLine(level, message) : PlainLine(level, message)) + "\n";
  std::fputs(line.c_str(), stderr);
}

}  // namespace

ReportSettings& PresentReportSettings() {
  static ReportSettings settings;
  return settings;
}

void ReportError(const ReportedMessage& message) { Report("error", message); }

void ReportWarning(const ReportedMessage& message) {
  ++Warnings();
  if (!PresentReportSettings().isQuiet) Report("warning", message);
}

void ReportWarning(const std::string& text, const std::string& file) {
  ReportWarning(ReportedMessage{.text = text, .file = file});
}

void ReportWarning(int number, const std::string& text, const std::string& file) {
  ReportWarning(ReportedMessage{.number = number, .text = text, .file = file});
}

void CountWarnings(std::size_t count) { Warnings() += static_cast<long long>(count); }

bool AreWarningsFailures() { return PresentReportSettings().isStrict && Warnings() != 0; }

void RefuseWarnings() {
  if (AreWarningsFailures()) throw ToolError(kStrictFailure, "");
}

}  // namespace tool
