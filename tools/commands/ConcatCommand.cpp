// datasrc concat OUT IN... [--from FORM] [--to FORM] [--compress none|bytecode|zlib] [options for CSV] [--no-sync]
//                [--password-file F]

#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "Columns/dictionary/DictionaryFacts.h"
#include "Columns/files/NewFile.h"
#include "Platform/text/QUAVMB.h"
#include "tools/cases/SystemFileWriter.h"
#include "tools/commandline/PasswordFile.h"
#include "tools/commands/Commands.h"
#include "tools/csv/CsvDictionary.h"
#include "tools/files/Output.h"
#include "tools/forms/AddedCases.h"
#include "tools/forms/ArrowForm.h"
#include "tools/forms/CaseForm.h"
#include "tools/forms/CaseInput.h"
#include "tools/forms/CsvOptions.h"
#include "tools/forms/TextCases.h"
#include "tools/jsonlines/JsonLinesDictionary.h"
#include "tools/systemfile/OpenSource.h"
#include "tools/threads/TaskPool.h"

namespace tool {

using namespace dstext;

namespace {

constexpr char kFooter[] =
    "OUT has the dictionary of the first IN and the cases of all, in their order. Each IN must have its\n"
    "variables, with the same types and widths; all differences are listed before the work begins. When\n"
    "the first IN is CSV, every row of all CSV files decides on the types, as in `datasrc convert`; so do\n"
    "all objects when it is .ndjson.\n"
    "\n"
    "The suffixes show the forms, as in `datasrc convert`. OUT gets its name when it is complete.";

struct ConcatArguments {
  std::string output;
  std::vector<std::string> inputs;
  std::string from;
  std::string to;
  std::string compression;
  std::string passwordFile;
  CsvOptions csv;
  bool roundTimes = false;
  bool noSync = false;
};

// The dictionary of all cases.
struct Base {
  SourceLine dictionary;
  const SystemFileDataSource* file;
  bool isTyped = false;                   // from CSV, all of which was looked at
  bool isNew = false;                     // from something else than a system file
  std::vector<std::string> members = {};  // CaseTarget
};

CaseForm FormOfInput(const std::string& input, const ConcatArguments& arguments) {
  const auto form = InputForm(input, arguments.from);
  if (!form) throw WrongUsage("IN", "standard input needs --from");
  return form->form;
}

void RefusePipe(const std::string& input) {
  if (input == "-" || IsIrregular(input)) throw WrongUsage("IN", "a pipe cannot be read twice: use convert first");
}

// Returns a base that owns the dictionary.
Base NewBase(std::unique_ptr<SystemFileDataSource> dictionary) {
  const SystemFileDataSource* const file = dictionary.get();
  return {.dictionary = SourceLine(dictionary.release()), .file = file, .isNew = true};
}

// Opens the inputs of a form.
std::vector<TextInput> TextsOf(const ConcatArguments& arguments, bool (*isOfForm)(CaseForm)) {
  std::vector<TextInput> texts;
  for (const std::string& input : arguments.inputs) {
    if (!isOfForm(FormOfInput(input, arguments))) continue;
    RefusePipe(input);
    texts.push_back(OpenText(input, InputForm(input, arguments.from), arguments.csv));
  }
  return texts;
}

Base CsvBase(const ConcatArguments& arguments, TaskPool& pool) {
  const std::vector<TextInput> texts = TextsOf(arguments, &IsCsv);
  std::vector<CsvFile> files;
  for (const TextInput& text : texts) files.push_back({text.bytes.get(), text.dialect});
  Base base = NewBase(TypeCsv(files, {&pool}).dictionary);
  base.isTyped = true;
  return base;
}

Base ObjectsBase(const ConcatArguments& arguments, TaskPool& pool) {
  const std::vector<TextInput> texts = TextsOf(arguments, [](CaseForm form) { return form == CaseForm::jsonObjects; });
  std::vector<InputBytes*> inputs;
  for (const TextInput& text : texts) inputs.push_back(text.bytes.get());
  JsonLinesDictionary typed = TypeJsonObjects(inputs, {&pool});
  Base base = NewBase(std::move(typed.dictionary));
  base.members = std::move(typed.members);
  return base;
}

Base OpenBase(const ConcatArguments& arguments, const ExtNameStr& password, TaskPool& pool) {
  const CaseForm form = FormOfInput(arguments.inputs.front(), arguments);
  const std::string& first = arguments.inputs.front();
  if (IsCsv(form)) return CsvBase(arguments, pool);
  if (form == CaseForm::jsonObjects) return ObjectsBase(arguments, pool);
  if (form == CaseForm::arrow) {
    RefusePipe(first);
    CaseInput input = ReadArrow(first, "", arguments.roundTimes);
    return {.dictionary = std::move(input.dictionary), .file = input.file, .isNew = true};
  }
  if (form != CaseForm::systemFile)
    throw WrongUsage("IN", "JSON lines of lists have no names, so they cannot be the first file");
  OpenedSource source = OpenSource(first, IsEncrypted(first) ? password : ExtNameStr());
  return {.dictionary = std::move(source.data), .file = source.file};
}

int CompressionOf(const ConcatArguments& arguments, const Base& base) {
  constexpr int kByteCodes = 1;
  for (int level = 0; level <= 2; ++level)
    if (arguments.compression == CompressionName(level)) return level;
  return base.isNew ? kByteCodes : base.file->GetCompressionLevel();
}

void Concat(const ConcatArguments& arguments) {
  FileForm form = FormOfSuffix(arguments.output);
  if (arguments.to.empty()) {
    RefuseForeignSuffix("OUT", arguments.output);
  } else {
    form.form = FormOfName(arguments.to);
  }
  if (form.form == CaseForm::arrow && form.isPacked) RefuseForeignSuffix("OUT", "x.arrow.gz");
  const bool isText = form.form != CaseForm::systemFile;
  if (isText && !arguments.compression.empty()) throw WrongUsage("--compress", "the option is for system files");
  if (!isText && arguments.output == "-")
    throw WrongUsage("OUT",
                     "a system file cannot be written to standard output: name a file, or another form with --to");
  DialectOf(arguments.csv, CaseForm::csv);  // refuses wrong options before the work
  for (const std::string& input : arguments.inputs) RefuseInputAsOutput(input, arguments.output);
  RefuseInputAsOutput(arguments.passwordFile, arguments.output, "password file");
  const ExtNameStr password = ReadPasswordFile(arguments.passwordFile);
  TaskPool pool(ThreadsToUse());
  const Base base = OpenBase(arguments, password, pool);
  const CaseTarget target{*base.dictionary,     nullptr, password,    arguments.from, arguments.csv, base.isTyped,
                          arguments.roundTimes, pool,    base.members};
  CompareDictionaries(arguments.inputs, target, arguments.output);
  AllCases added(arguments.inputs, target);
  const NewFileOptions newFile{.sync = !arguments.noSync};
  std::vector<long long> counts;
  if (form.form == CaseForm::arrow) {
    Output output(arguments.output, newFile);
    const std::unique_ptr<CaseReader> cases = added.Read(counts);
    WriteArrowCases(*base.dictionary, *cases, AllColumns(*base.dictionary), SortKeys{}, {}, output, STDERR_FILENO);
    output.Finish();
  } else if (isText) {
    Output output(arguments.output, newFile, form.isPacked);
    TextCases writer(*base.dictionary, AllColumns(*base.dictionary), base.file->CharacterEncoding(), form.form,
                     DialectOf({}, form.form), {}, output, &pool);
    counts = added.CopyTo(writer);
    output.Finish();
  } else {
    SystemFileWriter writer(
        arguments.output, *base.dictionary,
        {CompressionOf(arguments, base), kUtf8Name, base.isNew ? kUtf8Name : base.file->CharacterEncoding(),
         ExtNameStr(), newFile, SortKeys{}});
    counts = added.CopyTo(writer);
    writer.Finish();
  }
  if (arguments.output != "-") PrintCounts(arguments.inputs, counts);
}

}  // namespace

void AddConcatCommand(CommandLine& line) {
  const auto arguments = std::make_shared<ConcatArguments>();
  Command command = line.Add("concat", "Makes a file of the cases of several files.");
  command.Argument("OUT", arguments->output, "The file to write");
  command.Arguments("IN", arguments->inputs, "The files to read");
  command.Option("--from", "FORM", arguments->from,
                 "The form of IN: csv, tsv, jsonl, ndjson, arrow, or quav for a system file", FormNames());
  command.Option("--to", "FORM", arguments->to, "The form of OUT", FormNames());
  command.Option("--compress", "KIND", arguments->compression, "The compression of a system file",
                 {CompressionName(0), CompressionName(1), CompressionName(2)});
  command.Flag("--round-times", arguments->roundTimes, "Arrow: stores the nearest number of a time that no number is");
  AddCsvOptions(command, arguments->csv, CsvUse::reading);
  AddNoSyncOption(command, arguments->noSync);
  AddPasswordOption(command, arguments->passwordFile);
  command.Footer(kFooter);
  command.Example("datasrc concat all.quav people.csv more.csv", "one system file of two CSV files");
  command.Example("datasrc concat all.csv people.quav others.quav", "CSV of two system files");
  command.Work([arguments] { Concat(*arguments); });
}

}  // namespace tool
