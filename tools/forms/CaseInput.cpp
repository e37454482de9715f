#include "tools/forms/CaseInput.h"

#include <utility>

#include "Columns/dictionary/CaseCount.h"
#include "tools/cases/FileCases.h"
#include "tools/csv/CsvCases.h"
#include "tools/csv/CsvDictionary.h"
#include "tools/dictionary/DictionaryFile.h"
#include "tools/files/GzipInput.h"
#include "tools/files/TextDecoder.h"
#include "tools/forms/ArrowForm.h"
#include "tools/jsonlines/JsonLinesCases.h"
#include "tools/jsonlines/JsonLinesDictionary.h"

namespace tool {

using namespace dstext;

namespace {

// Decodes the text: in the encoding that the user named, otherwise in the one that its first bytes show.
void Decode(InputBytes& bytes, const std::optional<std::string>& encoding) {
  const std::string name = encoding ? *encoding : RecognisedEncoding(bytes.Start());
  if (!name.empty() && !bytes.Decode(name)) throw WrongUsage("--input-encoding", "'" + name + "' is not an encoding");
}

CaseForm FormOfText(InputBytes& bytes) {
  const std::string start = bytes.Start();
  if (start.starts_with('[')) return CaseForm::jsonLines;
  return start.starts_with('{') ? CaseForm::jsonObjects : CaseForm::csv;
}

CaseInput ReadObjects(TextInput text, TaskPool& pool) {
  JsonLinesDictionary typed = TypeJsonObjects({text.bytes.get()}, {&pool});
  auto cases = ReadObjectsFor(std::move(text), typed.members, *typed.dictionary, pool);
  const SystemFileDataSource* const file = typed.dictionary.get();
  return {SourceLine(typed.dictionary.release()), file, std::move(cases)};
}

}  // namespace

std::optional<FileForm> InputForm(const std::string& path, const std::string& formName) {
  const bool isPacked = FormOfSuffix(path).isPacked;
  if (formName.empty() && path == "-") return std::nullopt;
  const FileForm form = formName.empty() ? FormOfSuffix(path) : FileForm{FormOfName(formName), isPacked};
  if (form.form == CaseForm::arrow && isPacked) RefuseForeignSuffix("IN", "x.arrow.gz");
  return form;
}

TextInput OpenText(const std::string& path, std::optional<FileForm> form, const CsvOptions& options) {
  TextInput text{std::make_unique<InputBytes>(path), form ? form->form : CaseForm::csv};
  const bool isPacked = form && form->isPacked;
  if (isPacked || (path == "-" && text.bytes->Start().starts_with(kGzipMagic))) text.bytes->Unpack();
  if (!form && IsSystemFileStart(text.bytes->Start())) {
    text.form = CaseForm::systemFile;
    return text;
  }
  if (!form && IsArrowStart(text.bytes->Start())) {
    text.form = CaseForm::arrow;
    return text;
  }
  Decode(*text.bytes, options.encoding);
  if (!form) text.form = FormOfText(*text.bytes);
  if (!IsCsv(text.form)) return text;
  text.dialect = DialectOf(options, text.form);
  if (FindsDelimiter(options)) text.dialect.delimiter = FindDelimiter(*text.bytes, text.dialect);
  return text;
}

CaseInput OpenSystemFile(const std::string& path, const ExtNameStr& password) {
  OpenedSource source = OpenSource(path, password);
  RequireCells(*source.file, path);
  auto cases = std::make_unique<FileCases>(*source.data, *source.data, *source.file);
  return {std::move(source.data), source.file, std::move(cases)};
}

CaseInput ReadArrow(const std::string& path, const std::string& dictionaryFile, bool roundTimes) {
  ArrowInput input = OpenArrow(path, dictionaryFile, roundTimes);
  const SystemFileDataSource* const file = input.dictionary.get();
  return {SourceLine(input.dictionary.release()), file, std::move(input.cases)};
}

CaseInput ReadText(TextInput text, const std::string& dictionaryFile, const std::string& encoding, TaskPool& pool) {
  if (dictionaryFile.empty() && text.form == CaseForm::jsonObjects) return ReadObjects(std::move(text), pool);
  std::unique_ptr<SystemFileDataSource> dictionary;
  long long count = -1;
  if (dictionaryFile.empty()) {
    CsvDictionary typed = TypeCsv(*text.bytes, text.dialect, {&pool});
    dictionary = std::move(typed.dictionary);
    count = typed.rows;
  } else {
    dictionary = ReadDictionaryFile(dictionaryFile, encoding);
  }
  auto cases = ReadTextFor(std::move(text), *dictionary, {.digitsAreKept = count >= 0}, pool, count);
  const SystemFileDataSource* const file = dictionary.get();
  return {SourceLine(dictionary.release()), file, std::move(cases)};
}

std::unique_ptr<CaseReader> ReadTextFor(TextInput text, const QUAV_DataSource& dictionary, const TextRules& rules,
                                        TaskPool& pool, long long count) {
  text.bytes->ReadOnce();
  if (IsCsv(text.form))
    return std::make_unique<CsvCases>(std::move(text.bytes), text.dialect, dictionary, rules, count, BlockWork{&pool});
  const JsonForm form = text.form == CaseForm::jsonObjects ? JsonForm::objects : JsonForm::lists;
  return std::make_unique<JsonLinesCases>(std::move(text.bytes), form, dictionary, rules, BlockWork{&pool});
}

std::unique_ptr<CaseReader> ReadObjectsFor(TextInput text, const std::vector<std::string>& members,
                                           const QUAV_DataSource& dictionary, TaskPool& pool) {
  text.bytes->ReadOnce();
  return std::make_unique<JsonLinesCases>(std::move(text.bytes), members, dictionary, TextRules(), BlockWork{&pool});
}

}  // namespace tool
