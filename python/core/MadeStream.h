// Streams of one batch.

#ifndef PYTHON_CORE_MADESTREAM_H
#define PYTHON_CORE_MADESTREAM_H

#include <nanobind/nanobind.h>

#include <cstdint>

namespace core {

// Makes a stream of bytes, for data that no Arrow library has brought into its form. `columns` has a tuple for each: name,
// format, number of nulls, a list of buffers (bytes or None), which are copied. Returns a capsule.
nanobind::object MadeStream(const nanobind::list& columns, std::int64_t rows);

// Makes a stream of the two capsules of __arrow_c_array__. Returns a capsule.
nanobind::object StreamOfArray(nanobind::handle schema, nanobind::handle array);

}  // namespace core

#endif
