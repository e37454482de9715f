// Warnings whose text is in the message catalog.

#ifndef DATASRC_SRC_CORE_WARNING_H
#define DATASRC_SRC_CORE_WARNING_H

#include <string>

#include "Platform/messages/ErrorMonitor.h"

// Sends the monitor a warning: the catalog's text for `message`, with `first` and `second` in its placeholders. Does
// nothing when the monitor is null.
void Warn(ErrorMonitor* monitor, int message, const std::string& first, const std::string& second = "");

#endif
