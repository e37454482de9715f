// The forms in which files store cases.
//
// Threads: any.

#ifndef TOOLS_FORMS_CASEFORM_H
#define TOOLS_FORMS_CASEFORM_H

#include <string>
#include <vector>

namespace tool {

enum class CaseForm { systemFile, csv, tsv, jsonLines, jsonObjects, arrow, table };

// The form of a file, as its suffix shows it.
struct FileForm {
  CaseForm form;
  bool isPacked = false;  // as gzip data
};

inline constexpr char kCsvName[] = "csv";
inline constexpr char kTsvName[] = "tsv";
inline constexpr char kJsonObjectsName[] = "ndjson";
inline constexpr char kJsonLinesName[] = "jsonl";
inline constexpr char kArrowName[] = "arrow";
inline constexpr char kSystemFileName[] = "quav";
inline constexpr char kTableName[] = "table";

// The names of the forms that files may have.
inline std::vector<std::string> FormNames() {
  return {kCsvName, kTsvName, kJsonLinesName, kJsonObjectsName, kArrowName, kSystemFileName};
}
// Returns the form with one of the names above.
CaseForm FormOfName(const std::string& name);
// Returns the form that the suffix stands for, in upper or lower case: .csv, .tsv, .jsonl, .ndjson, .arrow, each also
// with .gz; everything else is a system file.
FileForm FormOfSuffix(const std::string& path);
// Returns true for CSV with any delimiter.
inline bool IsCsv(CaseForm form) { return form == CaseForm::csv || form == CaseForm::tsv; }
// Throws WrongUsage when the suffix belongs to a well-known form that the tool does not write, so that no system file gets
// a name that says something else, and for .gz where the form is not packed. `argument` names the path on the command line.
void RefuseForeignSuffix(const std::string& argument, const std::string& path);

// What files with a well-known suffix contain that stands for none of the forms above.
enum class ForeignForm { none, data, text, page };
// Throws WrongUsage when the suffix belongs to a well-known form that is not `possible` and that the tool does not write.
void RefuseForeignForm(const std::string& argument, const std::string& path, ForeignForm possible = ForeignForm::none);

}  // namespace tool

#endif
