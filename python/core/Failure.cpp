#include "core/Failure.h"

#include <nanobind/nanobind.h>
#include <nanobind/stl/string.h>

#include "datasrc/c_api.h"

namespace nb = nanobind;

namespace core {

Failure Failure::OfThisThread(int result) {
  if (result == 0) return {};
  return {.result = result,
          .number = datasrc_error_number(),
          .text = datasrc_error_text(),
          .file = datasrc_error_file(),
          .place = datasrc_error_place()};
}

namespace {

// The bytes of a file name need not be UTF-8.
nb::object Text(const std::string& text) {
  return nb::steal(PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "replace"));
}

}  // namespace

void RaiseIfFailed(const Failure& failure) {
  if (failure.result == 0) return;
  const nb::object exception = nb::module_::import_("datasrc.errors")
                                   .attr("of_failure")(failure.result, failure.number, Text(failure.text),
                                                       Text(failure.file), Text(failure.place));
  PyErr_SetObject(PyExceptionInstance_Class(exception.ptr()), exception.ptr());
  throw nb::python_error();
}

}  // namespace core
