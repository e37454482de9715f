#include "datasrc/ArrowCases.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "Columns/arrowin/ArrivingColumns.h"
#include "Columns/arrowin/ArrivingRows.h"
#include "Columns/arrowin/ArrowInput.h"
#include "Columns/arrowin/CaseMaker.h"
#include "Columns/arrowin/RowSpool.h"
#include "Columns/dictionary/ArrivingDictionary.h"
#include "Columns/dictionary/DictionaryJsonError.h"
#include "Columns/dictionary/UnknownBlocks.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/ArrowStream.h"
#include "systemfile/SystemFileExtensionRecord.h"

using namespace arrowin;

struct ArrowCases::Data {
  explicit Data(ArrowArrayStream* stream, const ArrowCasesOptions& options)
      : input(stream), columns(ColumnsOf(input, options.rename)), notes(NotesAbout(columns)) {}

  // Reads the rows of a stream whose dictionary comes from it.
  void BeginNew(const ArrowCasesOptions& options);
  // Reads the rows for a dictionary that is known.
  void BeginKnown(const QUAV_DataSource& shown, const QUAV_DataSource& stored, const std::string& encoding,
                  bool roundTimes);
  bool NextRows() { return spool ? spool->Next(some) : rows->Next(some); }

  ArrowInput input;
  std::vector<ArrivingColumn> columns;
  std::vector<std::string> notes;
  std::unique_ptr<SystemFileDataSource> dictionary;
  std::optional<ArrivingRows> rows;
  std::optional<RowSpool> spool;  // has the rows where the widths of texts were to be found first
  std::optional<CaseMaker> cases;
  ArrivedRows some;

 private:
  void Spool(std::vector<int>& widths, const std::vector<bool>& isOpen);
  void NameOldNames();
  void AddExtensions();
};

void ArrowCases::Data::BeginNew(const ArrowCasesOptions& options) {
  if (columns.empty()) throw ArrowImportError("the stream has no columns, and a system file needs one");
  RefuseIllegalNames(columns);
  const dstext::ArrivingDictionary arriving(MetadataOf(input.Schema(), kArrowFileKey), options.dictionary,
                                            VariablesOf(columns));
  std::vector<int> widths;
  std::vector<bool> isOpen;  // whether the width is that of the widest value
  std::vector<int> targets;
  for (std::size_t k = 0; k < columns.size(); ++k) {
    const std::optional<int> fixed = arriving.FixedWidth(k);
    widths.push_back(fixed.value_or(arriving.LeastWidth(k)));
    isOpen.push_back(!fixed && !arriving.IsNumber(k));
    targets.push_back(static_cast<int>(k));
  }
  rows.emplace(input, ValuesFor(columns, *arriving.Build(widths).dictionary, targets, options.roundTimes));
  if (std::ranges::find(isOpen, true) != isOpen.end()) {
    spool.emplace(options.isSecret);
    Spool(widths, isOpen);
  }
  dstext::JsonDictionary described = arriving.Build(widths);
  notes.insert(notes.end(), described.warnings.begin(), described.warnings.end());
  dictionary = std::move(described.dictionary);
  NameOldNames();
  AddExtensions();
  cases.emplace(*dictionary, targets, NamesOf(columns), dstext::FillRules());
}

void ArrowCases::Data::AddExtensions() {
  const std::string blocks = MetadataOf(input.Schema(), kArrowExtensionsKey);
  if (blocks.empty()) return;
  dstext::AddUnknownBlocks(*dictionary, blocks);
  for (const int type : dictionary->ExtensionTypes())
    if (SystemFileExtensionHandler::IsRegistered(type))
      notes.push_back("the extension block of type " + std::to_string(type) +
                      " is not stored: the library makes the records of this type itself");
}

void ArrowCases::Data::Spool(std::vector<int>& widths, const std::vector<bool>& isOpen) {
  while (rows->Next(some)) {
    for (std::size_t k = 0; k < widths.size(); ++k) {
      const std::vector<std::uint32_t>& sizes = some.columns[k].sizes;
      if (isOpen[k] && !sizes.empty())
        widths[k] = std::max(widths[k], static_cast<int>(*std::ranges::max_element(sizes)));
    }
    spool->Add(some);
  }
  spool->Rewind();
}

void ArrowCases::Data::NameOldNames() {
  for (std::size_t k = 0; k < columns.size(); ++k) {
    QUAV_Variable& variable = dictionary->GetVariable(static_cast<int>(k));
    const std::string old = columns[k].OldName();
    const char* const label = variable.GetLabel();
    if (old != columns[k].name && !old.empty() && (label == nullptr || *label == '\0')) variable.SetLabel(old.c_str());
  }
}

void ArrowCases::Data::BeginKnown(const QUAV_DataSource& shown, const QUAV_DataSource& stored,
                                  const std::string& encoding, bool roundTimes) {
  const std::vector<int> targets = TargetsOf(columns, shown);
  dstext::FillRules rules;
  if (!QUAVMBqSameCodePage(encoding.c_str(), kUtf8Name))
    rules.converter = QUAVMBConverterPtr(QUAVMBConverterNew_A(encoding.c_str()));
  cases.emplace(stored, targets, NamesOf(columns), rules);
  rows.emplace(input, ValuesFor(columns, shown, targets, roundTimes));
}

ArrowCases::ArrowCases(ArrowArrayStream* stream, const ArrowCasesOptions& options)
    : m_(std::make_unique<Data>(stream, options)) {
  try {
    m_->BeginNew(options);
  } catch (const dstext::DictionaryJsonError& error) {
    throw ArrowImportError(error.what());
  }
}

ArrowCases::ArrowCases(ArrowArrayStream* stream, const QUAV_DataSource& shown, const QUAV_DataSource& stored,
                       const std::string& encoding, const ArrowCasesOptions& options)
    : m_(std::make_unique<Data>(stream, options)) {
  m_->BeginKnown(shown, stored, encoding, options.roundTimes);
}

ArrowCases::~ArrowCases() = default;

std::unique_ptr<SystemFileDataSource> ArrowCases::TakeDictionary() { return std::move(m_->dictionary); }

const OBS* ArrowCases::Next() {
  for (;;) {
    if (const OBS* const cells = m_->cases->Next()) return cells;
    if (!m_->NextRows()) return nullptr;
    m_->cases->Begin(m_->some);
  }
}

long long ArrowCases::RowsRead() const { return m_->rows->Count(); }

const std::vector<std::string>& ArrowCases::Notes() const { return m_->notes; }
