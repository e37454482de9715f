// A stream with other metadata than its maker gave it.

#ifndef PYTHON_CORE_DESCRIBEDSTREAM_H
#define PYTHON_CORE_DESCRIBEDSTREAM_H

#include <nanobind/nanobind.h>

#include <map>
#include <string>

namespace core {

using MetadataOfOne = std::map<std::string, std::string>;

// Takes the stream of a capsule, and returns a capsule of one with the metadata in its schema, and with those of `fields`
// in the fields of these names. Other metadata stay.
nanobind::object Described(nanobind::handle capsule, MetadataOfOne schema, std::map<std::string, MetadataOfOne> fields);

}  // namespace core

#endif
