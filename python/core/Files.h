// Files and the functions of the C interface, as datasrc._core has them.

#ifndef PYTHON_CORE_FILES_H
#define PYTHON_CORE_FILES_H

#include <nanobind/nanobind.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/Batch.h"
#include "core/Streams.h"
#include "core/Watch.h"
#include "datasrc/c_api.h"

namespace core {

// Which cases a stream has: datasrc_scan_options for Python.
struct Scan {
  std::optional<std::vector<std::string>> columns = {};
  std::int64_t firstRow = 0;
  std::int64_t rows = -1;
  int rowsPerBatch = 0;
  std::uint32_t flags = 0;
  int threads = 1;
};

// The cases of a file, which are read once: by capsule or batch by batch.
class Cases {
 public:
  // Takes the stream.
  Cases(ArrowArrayStream& stream, std::shared_ptr<Watch> watch);

  Schema GetSchema();
  // Returns the next batch, or None at the end. Raises what the watch kept, or the failure of the stream.
  nanobind::object Next();
  // Gives the stream away.
  nanobind::object Capsule();

 private:
  void RequireStream() const;
  [[noreturn]] void RaiseFailure();

  std::shared_ptr<Watch> m_watch;
  StreamOwner m_stream;
  std::optional<Schema> m_schema;
};

class File {
 public:
  File(const nanobind::bytes& path, const std::optional<nanobind::bytes>& password,
       const std::optional<nanobind::bytes>& encoding, std::uint32_t flags);

  void Close() { m_file.reset(); }
  bool IsClosed() const { return m_file == nullptr; }
  nanobind::object Dictionary() const;
  std::vector<std::string> Splits(int count) const;
  std::unique_ptr<Cases> Read(const Scan& scan, std::shared_ptr<Watch> watch) const;

 private:
  // A call keeps the file while another thread closes it.
  std::shared_ptr<datasrc_file> Opened() const;

  std::shared_ptr<datasrc_file> m_file;
};

std::unique_ptr<Cases> ReadSplit(const nanobind::bytes& token, const std::optional<nanobind::bytes>& password,
                                 const std::optional<nanobind::bytes>& path, const Scan& scan,
                                 std::shared_ptr<Watch> watch);

// Each takes the stream of a capsule, and returns the number of rows and the notes, a line each.
nanobind::object Write(nanobind::handle capsule, const nanobind::bytes& path,
                       const std::optional<nanobind::bytes>& dictionary, const std::optional<nanobind::bytes>& password,
                       int compression, std::uint32_t flags, std::shared_ptr<Watch> watch);
nanobind::object Append(nanobind::handle capsule, const nanobind::bytes& path,
                        const std::optional<nanobind::bytes>& password, const std::optional<nanobind::bytes>& encoding,
                        std::uint32_t flags, std::shared_ptr<Watch> watch);

}  // namespace core

#endif
