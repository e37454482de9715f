// An error monitor that keeps all messages.

#ifndef TESTS_SUPPORT_LISTENER_H
#define TESTS_SUPPORT_LISTENER_H

#include <vector>

#include "Platform/messages/ErrorMonitor.h"

class Listener : public ErrorMonitor {
 public:
  void Error(const Message& message) override { errors.push_back(message); }
  void Warning(const Message& message) override { warnings.push_back(message); }

  std::vector<int> Numbers() const {
    std::vector<int> numbers;
    for (const Message& message : warnings) numbers.push_back(message.number);
    return numbers;
  }

  std::vector<Message> errors;
  std::vector<Message> warnings;
};

#endif
