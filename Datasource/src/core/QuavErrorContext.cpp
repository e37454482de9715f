#include "datasrc/QuavErrorContext.h"

namespace {

ErrorMonitor* theMonitor = nullptr;

}  // namespace

ErrorMonitor* QuavErrorContext::GetErrorMonitor() { return theMonitor; }

void QuavErrorContext::SetErrorMonitor(ErrorMonitor* monitor) { theMonitor = monitor; }
