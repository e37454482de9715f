#include "datasrc/ArrowStream.h"

#include <cerrno>
#include <exception>
#include <limits>
#include <new>
#include <numeric>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Columns/arrow/ArrowColumn.h"
#include "Columns/arrow/ArrowData.h"
#include "Columns/batches/BatchFiller.h"
#include "Columns/dictionary/DictionaryFacts.h"
#include "Columns/dictionary/DictionaryJson.h"
#include "Columns/dictionary/UnknownBlocks.h"
#include "Platform/messages/ThrowError.h"
#include "Platform/text/Encoding.h"

namespace {

constexpr std::size_t kUsualBytes = std::size_t{4} << 20;  // the cells of a batch

// Chooses how many rows a batch has, if the caller does not.
ColumnReaderOptions ForStream(const QUAV_DataSource& source, ColumnReaderOptions options) {
  if (options.rowsPerBatch == 0) options.rowsPerBatch = UsualRows(source, options, kUsualBytes);
  return options;
}

class ExportedStream {
 public:
  ExportedStream(std::shared_ptr<const QUAV_DataSource> source, const ArrowExportOptions& options)
      : m_source(std::move(source)), m_reader(*m_source, ForStream(*m_source, options.reading)) {
    const std::string encodingName = TextEncoding(options);
    const quavmb::Encoding* const found = quavmb::Encoding::Find(encodingName.c_str());
    const quavmb::Encoding& encoding = found != nullptr ? *found : quavmb::Encoding::Utf8();
    dstext::DictionaryJson json(*m_source, encodingName);
    m_fileJson = json.File(IsPart(options.reading));
    m_extensions = dstext::UnknownBlocksJson(*m_source);
    for (std::size_t k = 0; k < m_reader.Columns().size(); ++k) {
      const int column = m_reader.Columns()[k];
      const QUAV_Variable& variable = m_source->GetVariable(column);
      m_columns.push_back({.column = MakeArrowColumn(variable, m_reader.KindOf(static_cast<int>(k)), options, encoding),
                           .name = Utf8Text(variable.GetName(), encoding),
                           .json = json.Variable(column)});
    }
  }

  int GetSchema(ArrowSchema* out) {
    return Guarded([&] {
      if (out == nullptr) throw std::invalid_argument("there is no place for the schema");
      SchemaData schema;
      schema.format = "+s";
      schema.metadata = {{kArrowFileKey, m_fileJson}};
      if (!m_extensions.empty()) schema.metadata.emplace_back(kArrowExtensionsKey, m_extensions);
      for (const Exported& exported : m_columns) {
        SchemaData field = exported.column->Schema();
        field.name = exported.name;
        field.flags = ARROW_FLAG_NULLABLE;
        field.metadata = {{kArrowVariableKey, exported.json}};
        schema.children.push_back(std::move(field));
      }
      MoveTo(*out, std::move(schema));
    });
  }

  int GetNext(ArrowArray* out) {
    // The batch of a failure was not delivered, so those after it must not be.
    if (m_failure != 0) return m_failure;
    if (out == nullptr) return Guarded([] { throw std::invalid_argument("there is no place for the array"); });
    m_failure = Guarded([&] {
      const std::shared_ptr<const ColumnBatch> batch = m_reader.Next();
      if (!batch) {
        out->release = nullptr;  // the end of the stream
        return;
      }
      ArrayData rows;
      rows.length = batch->rows;
      rows.buffers = {nullptr};
      for (std::size_t k = 0; k < m_columns.size(); ++k) {
        ArrayData column = m_columns[k].column->Array(batch, batch->columns[k]);
        column.length = batch->rows;
        column.nulls = batch->columns[k].missing;
        rows.children.push_back(std::move(column));
      }
      MoveTo(*out, std::move(rows));
    });
    return m_failure;
  }

  const char* LastError() const {
    if (m_isOutOfMemory) return "out of memory";
    return m_error.empty() ? nullptr : m_error.c_str();
  }

 private:
  // A column of the stream, with what its field says.
  struct Exported {
    std::unique_ptr<ArrowColumn> column;
    std::string name;
    std::string json;
  };

  // Returns whether the stream is not that of all rows, with all columns in their order.
  bool IsPart(const ColumnReaderOptions& reading) const {
    std::vector<int> all(m_source->ColumnCount());
    std::iota(all.begin(), all.end(), 0);
    const bool hasAllRows = reading.rows == std::numeric_limits<long long>::max() ||
                            (m_source->RowCount() >= 0 && reading.rows >= m_source->RowCount());
    return m_reader.Columns() != all || reading.firstRow != 0 || !hasAllRows;
  }

  std::string TextEncoding(const ArrowExportOptions& options) const {
    return options.reading.encoding.empty() ? dstext::TextEncodingOf(*m_source) : options.reading.encoding;
  }

  // Runs an operation of the stream. Returns 0, or an errno value after keeping the text of the error, for which there
  // may be no memory.
  template <class Operation>
  int Guarded(Operation operation) noexcept {
    try {
      operation();
      return 0;
    } catch (...) {
      return Kept();
    }
  }

  int Kept() noexcept {
    try {
      return KeptPresent();
    } catch (...) {
      return OutOfMemory();
    }
  }

  int KeptPresent() {
    try {
      throw;
    } catch (const QuavServerError& error) {
      return Failed(EIO, "error " + std::to_string(error.Number()) + ": " + error.Text() + ": " + error.File());
    } catch (const ValueDoesNotFit& error) {
      return Failed(EINVAL, error.what());
    } catch (const std::invalid_argument& error) {
      return Failed(EINVAL, error.what());
    } catch (const std::bad_alloc&) {
      return OutOfMemory();
    } catch (const std::exception& error) {
      return Failed(EIO, error.what());
    }
  }

  int OutOfMemory() noexcept {
    m_error.clear();
    m_isOutOfMemory = true;
    return ENOMEM;
  }

  // The name of a file may have any bytes.
  int Failed(int number, const std::string& text) {
    m_error = Utf8Text(text, quavmb::Encoding::Utf8());
    m_isOutOfMemory = false;
    return number;
  }

  std::shared_ptr<const QUAV_DataSource> m_source;
  ColumnReader m_reader;
  std::string m_fileJson;
  std::string m_extensions;
  std::vector<Exported> m_columns;
  std::string m_error;
  bool m_isOutOfMemory = false;  // the last error, which then has no text
  int m_failure = 0;             // of GetNext, an errno value
};

ExportedStream& Of(ArrowArrayStream* stream) { return *static_cast<ExportedStream*>(stream->private_data); }

}  // namespace

void ExportArrowStream(std::shared_ptr<const QUAV_DataSource> source, const ArrowExportOptions& options,
                       ArrowArrayStream* stream) {
  auto exported = std::make_unique<ExportedStream>(std::move(source), options);
  stream->get_schema = [](ArrowArrayStream* self, ArrowSchema* out) { return Of(self).GetSchema(out); };
  stream->get_next = [](ArrowArrayStream* self, ArrowArray* out) { return Of(self).GetNext(out); };
  stream->get_last_error = [](ArrowArrayStream* self) { return Of(self).LastError(); };
  stream->release = [](ArrowArrayStream* self) {
    const std::unique_ptr<ExportedStream> released(&Of(self));
    self->release = nullptr;
  };
  stream->private_data = exported.release();
}
