// Warnings with a text of the message catalog.

#ifndef DATASRC_SRC_CORE_WARNING_H
#define DATASRC_SRC_CORE_WARNING_H

#include <string>

#include "Platform/messages/ErrorMonitor.h"

// Warns the monitor by the message, with the texts in its places. A null monitor hears nothing.
void Warn(ErrorMonitor* monitor, int message, const std::string& first, const std::string& second = "");

#endif
