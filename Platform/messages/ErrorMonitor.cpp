#include "Platform/messages/ErrorMonitor.h"

ErrorMonitor::~ErrorMonitor() = default;

void ErrorMonitor::Error(const Message&) {}

void ErrorMonitor::Warning(const Message&) {}
