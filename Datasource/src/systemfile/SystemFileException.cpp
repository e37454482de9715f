#include "systemfile/SystemFileException.h"

#include <cerrno>
#include <utility>

SystemFileException::SystemFileException(int number, std::string expression, std::string file, int line, bool system)
    : m_file(std::move(file)),
      m_expression(std::move(expression)),
      m_number(number),
      m_line(line),
      m_system(system),
      m_errno(system ? errno : 0) {}

void ThrowSystemFileException(int number, const char* expression, bool system, std::source_location place) {
  throw SystemFileException(number, expression, place.file_name(), static_cast<int>(place.line()), system);
}

void ReportSystemFileException(const SystemFileException& fault, const char* fileSpec) {
  try {
    if (!fault.System()) ThrowError::String1(kDatasrcCatalog, fault.Number(), fileSpec);
    errno = fault.Errno();
    ThrowError::StringSys(kDatasrcCatalog, fault.Number(), fileSpec);
  } catch (QuavServerError& error) {
    error.SetPlace(fault.Place());
    throw;
  }
}
