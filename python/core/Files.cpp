#include "core/Files.h"

#include <nanobind/stl/string.h>

#include <cerrno>
#include <string_view>

#include "core/Failure.h"

namespace nb = nanobind;

namespace core {

namespace {

const char* Text(const std::optional<nb::bytes>& bytes) { return bytes ? bytes->c_str() : nullptr; }

// Runs a call of the C interface with the GIL free.
template <class Call>
void Run(Call call) {
  Failure failure;
  {
    const nb::gil_scoped_release free;
    failure = Failure::OfThisThread(call());
  }
  RaiseIfFailed(failure);
}

struct FreeText {
  void operator()(char* text) const { datasrc_free(text); }
};
using CText = std::unique_ptr<char, FreeText>;

nb::object Str(const char* text) {
  return nb::steal(PyUnicode_DecodeUTF8(text, static_cast<Py_ssize_t>(std::string_view(text).size()), "replace"));
}

// The options for C. They point into the scan.
class Options {
 public:
  explicit Options(const Scan& scan) : m_options(DATASRC_SCAN_OPTIONS_INIT) {
    if (scan.columns) {
      m_names.reserve(scan.columns->size() + 1);
      for (const std::string& name : *scan.columns) m_names.push_back(name.c_str());
      m_options.column_count = m_names.size();
      m_names.push_back(nullptr);  // so that no columns are not all columns
      m_options.columns = m_names.data();
    }
    m_options.first_row = scan.firstRow;
    m_options.row_count = scan.rows;
    m_options.rows_per_batch = scan.rowsPerBatch;
    m_options.flags = scan.flags;
    m_options.threads = scan.threads;
  }
  const datasrc_scan_options* Get() const { return &m_options; }

 private:
  datasrc_scan_options m_options;
  std::vector<const char*> m_names;
};

std::unique_ptr<Cases> Opened(ArrowArrayStream& stream, std::shared_ptr<Watch> watch) {
  ArrowArrayStream watched = Watched(stream, watch);
  return std::make_unique<Cases>(watched, std::move(watch));
}

template <class Import>
nb::object Imported(nb::handle capsule, std::shared_ptr<Watch> watch, Import import) {
  ArrowArrayStream given = StreamOf(capsule);
  ArrowArrayStream stream = Watched(given, watch);
  std::int64_t rows = 0;
  char* notes = nullptr;
  Failure failure;
  {
    const nb::gil_scoped_release free;
    failure = Failure::OfThisThread(import(&stream, &rows, &notes));
  }
  const CText owned(notes);
  if (failure.result != 0 && watch->RaiseKept()) throw nb::python_error();
  RaiseIfFailed(failure);
  return nb::make_tuple(rows, Str(notes));
}

}  // namespace

// ---- Cases ----

Cases::Cases(ArrowArrayStream& stream, std::shared_ptr<Watch> watch) : m_watch(std::move(watch)), m_stream(stream) {}

void Cases::RequireStream() const {
  if (m_stream.IsReleased()) throw nb::value_error("the cases were read already");
}

void Cases::RaiseFailure() {
  if (m_watch->RaiseKept()) throw nb::python_error();
  const nb::object exception =
      nb::module_::import_("datasrc.errors")
          .attr("of_stream")(Str(m_watch->FailureText().c_str()), Str(m_watch->File().c_str()));
  PyErr_SetObject(PyExceptionInstance_Class(exception.ptr()), exception.ptr());
  throw nb::python_error();
}

Schema Cases::GetSchema() {
  if (m_schema) return *m_schema;
  RequireStream();
  ArrowSchema schema{};
  if (m_stream.Get()->get_schema(m_stream.Get(), &schema) != 0) RaiseFailure();
  m_schema.emplace(schema);
  return *m_schema;
}

nb::object Cases::Next() {
  const Schema schema = GetSchema();
  RequireStream();
  ArrowArray array{};
  if (m_stream.Get()->get_next(m_stream.Get(), &array) != 0) RaiseFailure();
  if (array.release == nullptr) return nb::none();
  return nb::cast(Batch(schema, array));
}

nb::object Cases::Capsule() {
  RequireStream();
  return StreamCapsule(*m_stream.Get());
}

// ---- Files ----

File::File(const nb::bytes& path, const std::optional<nb::bytes>& password, const std::optional<nb::bytes>& encoding,
           std::uint32_t flags) {
  datasrc_open_options options = DATASRC_OPEN_OPTIONS_INIT;
  options.password = Text(password);
  options.encoding = Text(encoding);
  options.flags = flags;
  datasrc_file* file = nullptr;
  Run([&, name = path.c_str()] { return datasrc_open_with(name, &options, &file); });
  m_file = std::shared_ptr<datasrc_file>(file, datasrc_close);
}

std::shared_ptr<datasrc_file> File::Opened() const {
  if (!m_file) throw nb::value_error("the file is closed");
  return m_file;
}

nb::object File::Dictionary() const {
  char* json = nullptr;
  Run([&json, file = Opened()] { return datasrc_dictionary(file.get(), &json); });
  const CText owned(json);
  return Str(json);
}

std::vector<std::string> File::Splits(int count) const {
  char* text = nullptr;
  Run([&text, count, file = Opened()] { return datasrc_splits(file.get(), count, &text); });
  const CText owned(text);
  std::vector<std::string> tokens;
  for (std::string_view left = text; !left.empty();) {
    const std::size_t end = left.find('\n');
    tokens.emplace_back(left.substr(0, end));
    left.remove_prefix(end + 1);
  }
  return tokens;
}

std::unique_ptr<Cases> File::Read(const Scan& scan, std::shared_ptr<Watch> watch) const {
  const Options options(scan);
  ArrowArrayStream stream{};
  Run([&, file = Opened()] { return datasrc_scan(file.get(), options.Get(), &stream); });
  return core::Opened(stream, std::move(watch));
}

std::unique_ptr<Cases> ReadSplit(const nb::bytes& token, const std::optional<nb::bytes>& password,
                                 const std::optional<nb::bytes>& path, const Scan& scan, std::shared_ptr<Watch> watch) {
  const Options options(scan);
  ArrowArrayStream stream{};
  Run([&, line = token.c_str(), secret = Text(password), file = Text(path)] {
    return datasrc_scan_split(line, secret, file, options.Get(), &stream);
  });
  return Opened(stream, std::move(watch));
}

// ---- Writing ----

nb::object Write(nb::handle capsule, const nb::bytes& path, const std::optional<nb::bytes>& dictionary,
                 const std::optional<nb::bytes>& password, int compression, std::uint32_t flags,
                 std::shared_ptr<Watch> watch) {
  datasrc_write_options options = DATASRC_WRITE_OPTIONS_INIT;
  options.dictionary = Text(dictionary);
  options.password = Text(password);
  options.compression = compression;
  options.flags = flags;
  return Imported(capsule, std::move(watch),
                  [&options, name = path.c_str()](ArrowArrayStream* stream, std::int64_t* rows, char** notes) {
                    return datasrc_write(stream, name, &options, rows, notes);
                  });
}

nb::object Append(nb::handle capsule, const nb::bytes& path, const std::optional<nb::bytes>& password,
                  const std::optional<nb::bytes>& encoding, std::uint32_t flags, std::shared_ptr<Watch> watch) {
  datasrc_append_options options = DATASRC_APPEND_OPTIONS_INIT;
  options.password = Text(password);
  options.encoding = Text(encoding);
  options.flags = flags;
  return Imported(capsule, std::move(watch),
                  [&options, name = path.c_str()](ArrowArrayStream* stream, std::int64_t* rows, char** notes) {
                    return datasrc_append_with(stream, name, &options, rows, notes);
                  });
}

}  // namespace core
