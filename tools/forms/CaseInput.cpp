#include "tools/forms/CaseInput.h"

#include <utility>

#include "Columns/dictionary/CaseCount.h"
#include "tools/cases/FileCases.h"
#include "tools/csv/CsvCases.h"
#include "tools/csv/CsvDictionary.h"
#include "tools/dictionary/DictionaryFile.h"
#include "tools/jsonlines/JsonLinesCases.h"

namespace tool {

using namespace dstext;

std::optional<CaseForm> InputForm(const std::string& path, const std::string& formName) {
  if (!formName.empty()) return FormOfName(formName);
  return path == "-" ? std::nullopt : std::optional(FormOfSuffix(path));
}

TextInput OpenText(const std::string& path, std::optional<CaseForm> form) {
  auto bytes = std::make_unique<InputBytes>(path);
  if (!form) form = bytes->First() == '[' ? CaseForm::jsonLines : CaseForm::csv;
  return {std::move(bytes), *form};
}

CaseInput OpenSystemFile(const std::string& path, const ExtNameStr& password) {
  OpenedSource source = OpenSource(path, password);
  RequireCells(*source.file, path);
  auto cases = std::make_unique<FileCases>(*source.data, *source.data, *source.file);
  return {std::move(source.data), source.file, std::move(cases)};
}

CaseInput ReadText(TextInput text, const std::string& dictionaryFile, const std::string& encoding) {
  std::unique_ptr<SystemFileDataSource> dictionary;
  long long count = -1;
  if (dictionaryFile.empty()) {
    CsvDictionary typed = TypeCsv(*text.bytes);
    dictionary = std::move(typed.dictionary);
    count = typed.rows;
  } else {
    dictionary = ReadDictionaryFile(dictionaryFile, encoding);
  }
  auto cases = ReadTextFor(std::move(text), *dictionary, {.digitsAreKept = count >= 0}, count);
  const SystemFileDataSource* const file = dictionary.get();
  return {SourceLine(dictionary.release()), file, std::move(cases)};
}

std::unique_ptr<CaseReader> ReadTextFor(TextInput text, const QUAV_DataSource& dictionary, const FillRules& rules,
                                        long long count) {
  text.bytes->ReadOnce();
  if (text.form == CaseForm::jsonLines)
    return std::make_unique<JsonLinesCases>(std::move(text.bytes), dictionary, rules);
  return std::make_unique<CsvCases>(std::move(text.bytes), dictionary, rules, count);
}

}  // namespace tool
