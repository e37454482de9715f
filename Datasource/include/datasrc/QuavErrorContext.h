// The process's error monitor, for callers that have one for all their work. The library reports only to the monitors
// that it is given, never to this one by itself.
//
// Threads: a plain variable without a lock. Set it before the work begins.

#ifndef DATASRC_QUAVERRORCONTEXT_H
#define DATASRC_QUAVERRORCONTEXT_H

#include "Platform/Export.h"
#include "Platform/messages/ErrorMonitor.h"

class DATASRC_API QuavErrorContext {
 public:
  // Null at first; not owned.
  static ErrorMonitor* GetErrorMonitor();
  static void SetErrorMonitor(ErrorMonitor* monitor);
};

#endif
