// The extension datasrc._core: the C interface for the Python modules of the package, which alone use it.

#include <nanobind/nanobind.h>
#include <nanobind/stl/map.h>
#include <nanobind/stl/optional.h>
#include <nanobind/stl/shared_ptr.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/unique_ptr.h>
#include <nanobind/stl/vector.h>

#include "core/Batch.h"
#include "core/DescribedStream.h"
#include "core/Files.h"
#include "core/MadeStream.h"
#include "core/Watch.h"

namespace nb = nanobind;
using namespace nb::literals;

NB_MODULE(_core, m) {
  m.attr("__version__") = datasrc_version();
  m.attr("OPEN_AS_STORED") = int{DATASRC_OPEN_AS_STORED};
  m.attr("TYPED_DATES") = int{DATASRC_SCAN_TYPED_DATES};
  m.attr("LABELS") = int{DATASRC_SCAN_LABELS};
  m.attr("USER_MISSING_AS_NULL") = int{DATASRC_SCAN_USER_MISSING_AS_NULL};
  m.attr("ROUND_TIMES") = int{DATASRC_WRITE_ROUND_TIMES};
  m.attr("NO_SYNC") = int{DATASRC_WRITE_NO_SYNC};

  nb::class_<core::Watch>(m, "Watch")
      .def(
          "__init__",
          [](core::Watch* self, nb::handle progress, bool isOwn, std::string file) {
            new (self) core::Watch(progress.is_none() ? nullptr : progress.ptr(), isOwn, std::move(file));
          },
          "progress"_a.none(), "is_own"_a, "file"_a)
      .def("failure", &core::Watch::FailureText)
      .def("raise_kept", [](core::Watch& self) {
        if (self.RaiseKept()) throw nb::python_error();
      });

  nb::class_<core::Schema>(m, "Schema")
      .def("fields", &core::Schema::Fields)
      .def("metadata", &core::Schema::Metadata)
      .def("capsule", &core::Schema::Capsule)
      .def_static("fields_of", &core::Schema::FieldsOf, "capsule"_a);

  nb::class_<core::Batch>(m, "Batch")
      .def("schema", &core::Batch::GetSchema)
      .def("rows", &core::Batch::Rows)
      .def("values", &core::Batch::Values, "column"_a)
      .def("capsule", &core::Batch::Capsule);

  nb::class_<core::Scan>(m, "Scan")
      .def(nb::init<>())
      .def_rw("columns", &core::Scan::columns)
      .def_rw("first_row", &core::Scan::firstRow)
      .def_rw("rows", &core::Scan::rows)
      .def_rw("rows_per_batch", &core::Scan::rowsPerBatch)
      .def_rw("flags", &core::Scan::flags)
      .def_rw("threads", &core::Scan::threads);

  nb::class_<core::Cases>(m, "Cases")
      .def("schema", &core::Cases::GetSchema)
      .def("next", &core::Cases::Next)
      .def("capsule", &core::Cases::Capsule);

  nb::class_<core::File>(m, "File")
      .def(
          nb::init<const nb::bytes&, const std::optional<nb::bytes>&, const std::optional<nb::bytes>&, std::uint32_t>(),
          "path"_a, "password"_a.none(), "encoding"_a.none(), "flags"_a)
      .def("close", &core::File::Close)
      .def("is_closed", &core::File::IsClosed)
      .def("dictionary", &core::File::Dictionary)
      .def("splits", &core::File::Splits, "count"_a)
      .def("read", &core::File::Read, "scan"_a, "watch"_a);

  m.def("read_split", &core::ReadSplit, "token"_a, "password"_a.none(), "path"_a.none(), "scan"_a, "watch"_a);
  m.def("write", &core::Write, "capsule"_a, "path"_a, "dictionary"_a.none(), "password"_a.none(), "compression"_a,
        "flags"_a, "watch"_a);
  m.def("append", &core::Append, "capsule"_a, "path"_a, "password"_a.none(), "encoding"_a.none(), "flags"_a, "watch"_a);
  m.def("made_stream", &core::MadeStream, "columns"_a, "rows"_a);
  m.def("stream_of_array", &core::StreamOfArray, "schema"_a, "array"_a);
  m.def("described", &core::Described, "capsule"_a, "schema"_a, "fields"_a);
}
