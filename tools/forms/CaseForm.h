// The forms in which files store cases.
//
// Threads: any.

#ifndef TOOLS_FORMS_CASEFORM_H
#define TOOLS_FORMS_CASEFORM_H

#include <string>

namespace tool {

enum class CaseForm { systemFile, csv, jsonLines, table };

inline constexpr char kCsvName[] = "csv";
inline constexpr char kJsonLinesName[] = "jsonl";
inline constexpr char kSystemFileName[] = "quav";
inline constexpr char kTableName[] = "table";

// Returns the form with one of the names above.
CaseForm FormOfName(const std::string& name);
// Returns the form that the suffix stands for, in upper or lower case: .csv, .jsonl; everything else is a system file.
CaseForm FormOfSuffix(const std::string& path);

}  // namespace tool

#endif
