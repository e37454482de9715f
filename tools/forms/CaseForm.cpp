#include "tools/forms/CaseForm.h"

#include <filesystem>

#include "Platform/text/QUAVMB.h"

namespace tool {

CaseForm FormOfName(const std::string& name) {
  if (name == kCsvName) return CaseForm::csv;
  if (name == kJsonLinesName) return CaseForm::jsonLines;
  return name == kTableName ? CaseForm::table : CaseForm::systemFile;
}

CaseForm FormOfSuffix(const std::string& path) {
  const std::string suffix = QUAVMBstrlwr_A(std::filesystem::path(path).extension().string());
  const CaseForm form = FormOfName(suffix.empty() ? suffix : suffix.substr(1));
  return form == CaseForm::table ? CaseForm::systemFile : form;
}

}  // namespace tool
