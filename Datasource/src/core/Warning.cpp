#include "core/Warning.h"

#include <cstdio>

#include "Platform/messages/ThrowError.h"

void Warn(ErrorMonitor* monitor, int message, const std::string& first, const std::string& second) {
  if (monitor == nullptr) return;
  const QuavServerErrorText format(kDatasrcCatalog, message);
  const int length = std::snprintf(nullptr, 0, format, first.c_str(), second.c_str());
  std::string text(static_cast<std::size_t>(length) + 1, '\0');
  std::snprintf(text.data(), text.size(), format, first.c_str(), second.c_str());
  text.pop_back();
  monitor->Warning({.text = text, .number = message});
}
