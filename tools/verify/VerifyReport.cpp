#include "tools/verify/VerifyReport.h"

#include <string>
#include <vector>

#include "Columns/text/Json.h"
#include "Columns/text/JsonText.h"
#include "Columns/text/ShownText.h"
#include "tools/text/TerminalText.h"

namespace tool {

using namespace dstext;

namespace {

const char* KindName(VerifiedFile::Kind kind) {
  switch (kind) {
    case VerifiedFile::systemFile:
      return "system file";
    case VerifiedFile::encrypted:
      return "encrypted system file";
    case VerifiedFile::none:
      break;
  }
  return "none";
}

std::string Count(long long count, const char* thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

std::string Valid(const std::string& text) { return std::string(ShownText("").Valid(text)); }

// ---- For people ----

std::string PlaceText(const FileFinding& finding) {
  std::string text;
  if (finding.place.IsKnown()) text += ", byte " + std::to_string(finding.place.offset);
  if (finding.isRecord && finding.place.record != 0) {
    text += ", record " + std::to_string(finding.place.record);
    if (finding.place.subtype) text += "/" + std::to_string(*finding.place.subtype);
  }
  if (finding.row >= 0) text += ", case " + std::to_string(finding.row);
  return text;
}

void AppendFinding(std::string& out, const std::string& title, const FileFinding& finding) {
  out += title + " " + std::to_string(finding.number) + PlaceText(finding) + ": " + OneLine(Valid(finding.text)) + "\n";
}

// ---- For scripts ----

template <class Number>
Json OrNull(bool isKnown, Number number) {
  return isKnown ? Json(number) : Json(nullptr);
}

Json FindingJson(const FileFinding& finding) {
  const bool hasType = finding.isRecord && finding.place.record != 0;
  return Json::Object({{"byte", OrNull(finding.place.IsKnown(), finding.place.offset)},
                       {"record", OrNull(hasType, finding.place.record)},
                       {"subtype", OrNull(hasType && finding.place.subtype, finding.place.subtype.value_or(0))},
                       {"case", OrNull(finding.row >= 0, finding.row)},
                       {"number", finding.number},
                       {"text", Valid(finding.text)}});
}

Json FindingsJson(const std::vector<FileFinding>& findings) {
  Json list = Json::List();
  for (const FileFinding& finding : findings) list.Add(FindingJson(finding));
  return list;
}

}  // namespace

std::string RowGapText(const RowGap& gap) {
  const std::string first = std::to_string(gap.from);
  if (gap.to < 0) return "an unknown number of cases from case " + first + " on";
  if (gap.to == gap.from + 1) return "case " + first;
  return "cases " + first + " to " + std::to_string(gap.to - 1);
}

void AppendVerifyText(std::string& out, const std::string& file, const VerifiedFile& found, const Color& color) {
  out += color.Bold() + OneLine(Valid(file)) + color.Plain() + ": " +
         (found.kind == VerifiedFile::none ? "not a system file" : KindName(found.kind));
  if (found.kind != VerifiedFile::none) out += ", " + Count(found.readableCases, "readable case");
  if (found.declaredCases >= 0 && found.declaredCases != found.readableCases)
    out += " of " + std::to_string(found.declaredCases) + " declared";
  out += "\n";
  for (const FileFinding& fault : found.faults) AppendFinding(out, color.Red() + "fault" + color.Plain(), fault);
  for (const FileFinding& warning : found.warnings)
    AppendFinding(out, color.Yellow() + "warning" + color.Plain(), warning);
  for (const RowGap& gap : found.missing)
    if (gap.to != gap.from) out += "not readable: " + RowGapText(gap) + "\n";
  if (found.faults.empty())
    out += color.Green() + "no faults" + color.Plain();
  else
    out += Count(std::ssize(found.faults), "fault");
  if (!found.warnings.empty()) out += ", " + Count(std::ssize(found.warnings), "warning");
  out += "\n";
}

void AppendVerifyJson(std::string& out, const std::string& file, const VerifiedFile& found) {
  const Json tree = Json::Object({{"file", Valid(file)},
                                  {"kind", KindName(found.kind)},
                                  {"cases", found.cases},
                                  {"declared_cases", OrNull(found.declaredCases >= 0, found.declaredCases)},
                                  {"faults", FindingsJson(found.faults)},
                                  {"readable_cases", found.readableCases},
                                  {"warnings", FindingsJson(found.warnings)}});
  AppendJson(out, tree);
  out += "\n";
}

}  // namespace tool
