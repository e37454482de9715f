// Schemas and batches of a stream for Python.
//
// Threads: they do not change, so any number at once.

#ifndef PYTHON_CORE_BATCH_H
#define PYTHON_CORE_BATCH_H

#include <nanobind/nanobind.h>

#include <memory>

#include "datasrc/ArrowAbi.h"

namespace core {

class Schema {
 public:
  // Takes the schema.
  explicit Schema(ArrowSchema& schema);

  // A tuple for each field: name, format, format of the dictionary's values or None, metadata as a dict.
  nanobind::list Fields() const;
  nanobind::dict Metadata() const;
  // A copy for a consumer.
  nanobind::object Capsule() const;
  // The fields of a capsule of somebody else, which stays as it is.
  static nanobind::list FieldsOf(nanobind::handle capsule);

  const ArrowSchema& Get() const { return *m_schema; }

 private:
  std::shared_ptr<const ArrowSchema> m_schema;
};

class Batch {
 public:
  // Takes the array.
  Batch(Schema schema, ArrowArray& array);

  const Schema& GetSchema() const { return m_schema; }
  std::int64_t Rows() const { return m_array->length; }
  // The values of a column as a list: float, str, None; of dates and times the number of the Arrow type.
  nanobind::list Values(int column) const;
  // Another owner of the same buffers, for a consumer.
  nanobind::object Capsule() const;

 private:
  Schema m_schema;
  std::shared_ptr<const ArrowArray> m_array;
};

}  // namespace core

#endif
