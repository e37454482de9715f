#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <new>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Columns/capi/Failure.h"
#include "Columns/capi/UnlockedStream.h"
#include "Columns/dictionary/CaseCount.h"
#include "Columns/dictionary/DictionaryFacts.h"
#include "Columns/dictionary/DictionaryJson.h"
#include "Columns/dictionary/FileOpening.h"
#include "Columns/splits/SplitMaker.h"
#include "Platform/text/Encoding.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/ArrowImport.h"
#include "datasrc/ArrowStream.h"
#include "datasrc/Splits.h"
#include "datasrc/c_api.h"

struct datasrc_file {
  std::string path;
  std::shared_ptr<const QUAV_DataSource> source;
};

namespace {

using capi::Guarded;
using capi::WrongArgument;

// Opening a file changes the process's encoding for a moment, so a call that opens a file has the lock alone. Calls that
// read the text of a dictionary share it. Streams do not need it: they know the encoding of their cases.
std::shared_mutex theEncodingLock;

template <class Pointer>
void Require(Pointer pointer, const char* name) {
  if (pointer == nullptr) throw WrongArgument(std::string(name) + " is null");
}

std::string TextOrNone(const char* text) { return text != nullptr ? text : ""; }

// The options of a kind that has had one size so far.
template <class Options>
Options Given(const Options* given, const Options& init) {
  if (given == nullptr) return init;
  if (given->size != sizeof init) throw WrongArgument("the size of the options is not that of this library");
  return *given;
}

// ---- Options of files ----

void CheckOpening(std::uint32_t flags, std::uint32_t knownFlags, std::uint32_t reserved) {
  if ((flags & ~knownFlags) != 0) throw WrongArgument("flags has one that is not known");
  if (reserved != 0) throw WrongArgument("reserved is not 0");
}

datasrc_open_options Checked(const datasrc_open_options* given) {
  const datasrc_open_options options = Given(given, DATASRC_OPEN_OPTIONS_INIT);
  CheckOpening(options.flags, DATASRC_OPEN_AS_STORED, options.reserved);
  return options;
}

datasrc_append_options Checked(const datasrc_append_options* given) {
  const datasrc_append_options options = Given(given, DATASRC_APPEND_OPTIONS_INIT);
  CheckOpening(options.flags, DATASRC_WRITE_ROUND_TIMES, options.reserved);
  return options;
}

std::shared_ptr<const QUAV_DataSource> Open(const std::string& path, const datasrc_open_options& options) {
  const ExtNameStr password(options.password);
  const std::string encoding = TextOrNone(options.encoding);
  if ((options.flags & DATASRC_OPEN_AS_STORED) != 0) return dstext::OpenAsStored(path, password, encoding);
  return dstext::OpenInPresentEncoding(path, password, nullptr, encoding);
}

// The text in a block that datasrc_free frees.
struct Free {
  void operator()(char* text) const { std::free(text); }
};
using CText = std::unique_ptr<char, Free>;

CText CopyOf(std::string_view text) {
  CText copy(static_cast<char*>(std::malloc(text.size() + 1)));
  if (!copy) throw std::bad_alloc();
  *std::copy(text.begin(), text.end(), copy.get()) = '\0';
  return copy;
}

void UseUtf8() {
  if (qUTF8mode() == 0) SetUTF8mode(1);
}

void RequireCells(const QUAV_DataSource& source, const std::string& path) {
  if (const SystemFileDataSource* const behind = dstext::FileBehind(source)) dstext::RequireCells(*behind, path);
}

// ---- Options of a scan ----

// Callers that were compiled before the options had a number of threads give this size.
constexpr std::size_t kSizeWithoutThreads = offsetof(datasrc_scan_options, threads);

datasrc_scan_options Checked(const datasrc_scan_options* given) {
  datasrc_scan_options options = DATASRC_SCAN_OPTIONS_INIT;
  if (given == nullptr) return options;
  if (given->size != sizeof options && given->size != kSizeWithoutThreads)
    throw WrongArgument("the size of the options is not that of this library");
  options.columns = given->columns;
  options.column_count = given->column_count;
  options.first_row = given->first_row;
  options.row_count = given->row_count;
  options.rows_per_batch = given->rows_per_batch;
  options.flags = given->flags;
  if (given->size == sizeof options) {
    options.threads = given->threads;
    options.reserved = given->reserved;
  }
  constexpr std::uint32_t kFlags = DATASRC_SCAN_TYPED_DATES | DATASRC_SCAN_LABELS | DATASRC_SCAN_USER_MISSING_AS_NULL;
  if ((options.flags & ~kFlags) != 0) throw WrongArgument("the options have a flag that is not known");
  if (options.first_row < 0) throw WrongArgument("first_row is negative");
  if (options.row_count < -1) throw WrongArgument("row_count is negative");
  if (options.rows_per_batch < 0) throw WrongArgument("rows_per_batch is negative");
  if (options.threads < 0) throw WrongArgument("threads is negative");
  if (options.reserved != 0) throw WrongArgument("reserved is not 0");
  if (options.columns == nullptr && options.column_count != 0) throw WrongArgument("columns is null");
  return options;
}

// The columns of a source by their names in UTF-8, without regard to case.
class ColumnNames {
 public:
  explicit ColumnNames(const QUAV_DataSource& source) {
    const quavmb::Encoding* const encoding = quavmb::Encoding::Find(dstext::TextEncodingOf(source).c_str());
    for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column) {
      std::string name = source.GetVariable(column).GetName();
      if (encoding != nullptr) encoding->ToUtf8(name, std::string(name));
      m_columns.emplace(Upper(name), column);
    }
  }

  int Column(const char* name) const {
    Require(name, "the name of a column");
    const auto found = m_columns.find(Upper(name));
    if (found == m_columns.end()) throw WrongArgument(std::string("there is no variable ") + name);
    return found->second;
  }

 private:
  static std::string Upper(std::string_view name) {
    return quavmb::Encoding::Utf8().InCase(name, quavmb::LetterCase::upper);
  }

  std::unordered_map<std::string, int> m_columns;
};

ArrowExportOptions ExportOptions(const QUAV_DataSource& source, const datasrc_scan_options& options) {
  ArrowExportOptions result;
  if (options.columns != nullptr) {
    const ColumnNames names(source);
    std::vector<int>& columns = result.reading.columns.emplace();
    for (std::size_t k = 0; k < options.column_count; ++k) columns.push_back(names.Column(options.columns[k]));
  }
  result.reading.firstRow = options.first_row;
  if (options.row_count >= 0) result.reading.rows = options.row_count;
  result.reading.rowsPerBatch = options.rows_per_batch;
  result.reading.dropUserMissing = (options.flags & DATASRC_SCAN_USER_MISSING_AS_NULL) != 0;
  result.reading.threads = std::max(options.threads, 1);
  result.typedDates = (options.flags & DATASRC_SCAN_TYPED_DATES) != 0;
  result.labels = (options.flags & DATASRC_SCAN_LABELS) != 0;
  return result;
}

// ---- Writing ----

datasrc_write_options Checked(const datasrc_write_options* given) {
  const datasrc_write_options options = Given(given, DATASRC_WRITE_OPTIONS_INIT);
  constexpr std::uint32_t kFlags = DATASRC_WRITE_ROUND_TIMES | DATASRC_WRITE_NO_SYNC;
  if ((options.flags & ~kFlags) != 0) throw WrongArgument("the options have a flag that is not known");
  if (options.compression < 0 || options.compression > 2) throw WrongArgument("compression is not 0, 1 or 2");
  return options;
}

ArrowWriteOptions WriteOptions(const datasrc_write_options& options) {
  return {.dictionary = TextOrNone(options.dictionary),
          .compression = options.compression,
          .password = ExtNameStr(options.password),
          .roundTimes = (options.flags & DATASRC_WRITE_ROUND_TIMES) != 0,
          .sync = (options.flags & DATASRC_WRITE_NO_SYNC) == 0};
}

// The file is complete, so a lack of memory for the notes must not become an error: the caller would try again.
void Deliver(const ArrowImportResult& result, std::int64_t* rows, char** notes) {
  if (rows != nullptr) *rows = result.rows;
  if (notes == nullptr) return;
  try {
    std::string text;
    for (const std::string& note : result.notes) text += note + "\n";
    *notes = CopyOf(capi::ValidUtf8(text)).release();
  } catch (const std::bad_alloc&) {
    *notes = nullptr;
  }
}

// Runs `import(stream)` while no other call works with text.
template <class Import>
int Imported(ArrowArrayStream* stream, const char* path, std::int64_t* rows, char** notes, Import import) {
  return Guarded([&] {
    if (rows != nullptr) *rows = 0;
    if (notes != nullptr) *notes = nullptr;
    Require(stream, "stream");
    std::unique_lock alone(theEncodingLock);
    capi::UnlockedStream taken(stream, alone);
    Require(path, "path");
    UseUtf8();
    ArrowArrayStream presented = taken.Presented();
    Deliver(import(&presented), rows, notes);
  });
}

}  // namespace

const char* datasrc_version() { return DATASRC_VERSION; }

int datasrc_open(const char* path, const char* password, uint32_t flags, datasrc_file** file) {
  datasrc_open_options options = DATASRC_OPEN_OPTIONS_INIT;
  options.password = password;
  options.flags = flags;
  return datasrc_open_with(path, &options, file);
}

int datasrc_open_with(const char* path, const datasrc_open_options* options, datasrc_file** file) {
  return Guarded([&] {
    Require(file, "file");
    *file = nullptr;
    Require(path, "path");
    const datasrc_open_options checked = Checked(options);
    const std::unique_lock alone(theEncodingLock);
    UseUtf8();
    auto opened = std::make_unique<datasrc_file>();
    opened->path = path;
    opened->source = Open(path, checked);
    *file = opened.release();
  });
}

void datasrc_close(datasrc_file* file) { const std::unique_ptr<datasrc_file> closed(file); }

int datasrc_dictionary(const datasrc_file* file, char** json) {
  return Guarded([&] {
    Require(json, "json");
    *json = nullptr;
    Require(file, "file");
    const std::shared_lock shared(theEncodingLock);
    std::string text;
    dstext::DictionaryJson(*file->source).Write([&](std::string_view piece) { text += piece; });
    *json = CopyOf(text).release();
  });
}

void datasrc_free(char* text) { std::free(text); }

int datasrc_scan(const datasrc_file* file, const datasrc_scan_options* options, ArrowArrayStream* stream) {
  return Guarded([&] {
    Require(stream, "stream");
    *stream = {};
    Require(file, "file");
    const datasrc_scan_options checked = Checked(options);
    const std::shared_lock shared(theEncodingLock);
    RequireCells(*file->source, file->path);
    ExportArrowStream(file->source, ExportOptions(*file->source, checked), stream);
  });
}

int datasrc_write(ArrowArrayStream* stream, const char* path, const datasrc_write_options* options, int64_t* rows,
                  char** notes) {
  return Imported(stream, path, rows, notes, [&](ArrowArrayStream* taken) {
    return WriteArrowStream(taken, path, WriteOptions(Checked(options)));
  });
}

int datasrc_append(ArrowArrayStream* stream, const char* path, const char* password, uint32_t flags, int64_t* rows,
                   char** notes) {
  datasrc_append_options options = DATASRC_APPEND_OPTIONS_INIT;
  options.password = password;
  options.flags = flags;
  return datasrc_append_with(stream, path, &options, rows, notes);
}

int datasrc_append_with(ArrowArrayStream* stream, const char* path, const datasrc_append_options* options,
                        int64_t* rows, char** notes) {
  return Imported(stream, path, rows, notes, [&](ArrowArrayStream* taken) {
    const datasrc_append_options checked = Checked(options);
    return AppendArrowStream(taken, path,
                             {.password = ExtNameStr(checked.password),
                              .roundTimes = (checked.flags & DATASRC_WRITE_ROUND_TIMES) != 0,
                              .encoding = TextOrNone(checked.encoding)});
  });
}

int datasrc_splits(const datasrc_file* file, int32_t count, char** tokens) {
  return Guarded([&] {
    Require(tokens, "tokens");
    *tokens = nullptr;
    Require(file, "file");
    if (count < 1 || count > kMostSplits) throw WrongArgument("count is not from 1 to 65536");
    std::shared_lock shared(theEncodingLock);
    RequireCells(*file->source, file->path);
    SplitMaker maker(*file->source, count);
    // The walk over the cases needs no text, and nobody should wait for it.
    shared.unlock();
    std::string lines;
    for (const std::string& token : maker.Tokens()) lines += token + '\n';
    *tokens = CopyOf(lines).release();
  });
}

int datasrc_scan_split(const char* token, const char* password, const char* path, const datasrc_scan_options* options,
                       ArrowArrayStream* stream) {
  return Guarded([&] {
    Require(stream, "stream");
    *stream = {};
    Require(token, "token");
    const datasrc_scan_options checked = Checked(options);
    std::string_view line = token;
    if (line.ends_with('\n')) line.remove_suffix(1);
    Split split;
    {
      const std::unique_lock alone(theEncodingLock);
      UseUtf8();
      split = OpenSplit(std::string(line), {.password = ExtNameStr(password), .file = ExtNameStr(path)});
    }
    const std::shared_lock shared(theEncodingLock);
    RequireCells(*split.source, split.source->GetFileSpec());
    ArrowExportOptions exported = ExportOptions(*split.source, checked);
    exported.reading = split.InSource(std::move(exported.reading));
    ExportArrowStream(split.source, exported, stream);
  });
}
