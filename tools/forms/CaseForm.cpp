#include "tools/forms/CaseForm.h"

#include <algorithm>
#include <filesystem>
#include <string_view>

#include "Platform/text/QUAVMB.h"
#include "tools/commandline/CommandLine.h"

namespace tool {

namespace {

constexpr std::string_view kPackedSuffix = ".gz";

struct ForeignSuffixes {
  ForeignForm form;
  std::string_view suffixes;  // each with a blank after it
  const char* hint;
};

constexpr ForeignSuffixes kForeignSuffixes[] = {
    {ForeignForm::data, ".feather .parquet .orc .avro .h5 .hdf5 .rds ",
     "write .arrow or .csv, which other programs convert"},
    {ForeignForm::data, ".xlsx .xls .xlsm .ods .numbers ", "write .csv, which spreadsheets open"},
    {ForeignForm::data, ".json .geojson .yaml .yml .toml .xml ", "write .jsonl or .ndjson"},
    {ForeignForm::data, ".sqlite .sqlite3 .db .mdb .sql ", "write .csv, which databases import"},
    {ForeignForm::page, ".html .htm .pdf .doc .docx .odt .rtf .md ",
     "use `datasrc report` for a page, `datasrc cat` or `datasrc info` to look at a file"},
    {ForeignForm::text, ".txt .text .tab .psv .dsv ", "use --to csv with --delimiter, or the suffix .csv or .tsv"},
    {ForeignForm::data, ".zip .7z .rar .tar .tgz .bz2 .xz .zst .lz4 .z ",
     "only .gz is packed: use a suffix such as .csv.gz"},
};

std::string LowerSuffix(const std::filesystem::path& path) { return QUAVMBstrlwr_A(path.extension().string()); }

}  // namespace

CaseForm FormOfName(const std::string& name) {
  if (name == kCsvName) return CaseForm::csv;
  if (name == kTsvName) return CaseForm::tsv;
  if (name == kJsonObjectsName) return CaseForm::jsonObjects;
  if (name == kJsonLinesName) return CaseForm::jsonLines;
  if (name == kArrowName) return CaseForm::arrow;
  return name == kTableName ? CaseForm::table : CaseForm::systemFile;
}

FileForm FormOfSuffix(const std::string& path) {
  const std::filesystem::path name(path);
  std::string suffix = LowerSuffix(name);
  const bool isPacked = suffix == kPackedSuffix;
  if (isPacked) suffix = LowerSuffix(name.stem());
  const CaseForm form = FormOfName(suffix.empty() ? suffix : suffix.substr(1));
  return {form == CaseForm::table ? CaseForm::systemFile : form, isPacked};
}

void RefuseForeignSuffix(const std::string& argument, const std::string& path) {
  const FileForm form = FormOfSuffix(path);
  if (form.form == CaseForm::arrow && form.isPacked)
    throw WrongUsage(argument, "an Arrow file is not packed as .gz: use the suffix .arrow");
  if (form.form != CaseForm::systemFile) return;
  if (form.isPacked)
    throw WrongUsage(argument, "a system file is not packed as .gz: use --compress zlib, or a suffix such as .csv.gz");
  RefuseForeignForm(argument, path);
}

void RefuseForeignForm(const std::string& argument, const std::string& path, ForeignForm possible) {
  const std::string suffix = LowerSuffix(path);
  if (suffix.empty()) return;
  for (const ForeignSuffixes& foreign : kForeignSuffixes)
    if (foreign.form != possible && foreign.suffixes.find(suffix + " ") != std::string_view::npos)
      throw WrongUsage(argument, "the form of " + suffix + " files is not written: " + foreign.hint);
}

}  // namespace tool
