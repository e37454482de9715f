// Messages about problems that do not stop the work. A caller derives from ErrorMonitor and passes an object of that
// class. Without a monitor the library stays silent.
//
// Threads: the library calls a monitor on the thread that does the work.

#ifndef PLATFORM_MESSAGES_ERRORMONITOR_H
#define PLATFORM_MESSAGES_ERRORMONITOR_H

#include <string>

#include "Platform/Export.h"

class DATASRC_API ErrorMonitor {
 public:
  struct Message {
    std::string text;              // ready to show, in the process's present encoding
    long value = 0;                // always 0 in messages of this library
    const void* detail = nullptr;  // always null in messages of this library
    int number = 0;                // Choice: the number in the message catalog
  };

  // Contract: the order of these operations; Warning is the third.
  virtual ~ErrorMonitor();
  virtual void Error(const Message& message);
  virtual void Warning(const Message& message);
};

#endif
