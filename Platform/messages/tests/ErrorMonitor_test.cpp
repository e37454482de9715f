#include "Platform/messages/ErrorMonitor.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace ErrorMonitor_test {
namespace {

TEST(ErrorMonitor, NewMessageIsEmpty) {
  const ErrorMonitor::Message message;
  EXPECT_EQ(message.text, "");
  EXPECT_EQ(message.value, 0);
  EXPECT_EQ(message.detail, nullptr);
  EXPECT_EQ(message.number, 0);
}

TEST(ErrorMonitor, BaseClassIgnoresMessages) {
  ErrorMonitor monitor;
  monitor.Error({"text", 0, nullptr, 1204});
  monitor.Warning({"text", 0, nullptr, 1722});
}

TEST(ErrorMonitor, CallsTheOverridesOfTheCaller) {
  struct Collector : ErrorMonitor {
    void Error(const Message& message) override { heard.push_back("error " + message.text); }
    void Warning(const Message& message) override { heard.push_back("warning " + message.text); }
    std::vector<std::string> heard;
  } collector;
  ErrorMonitor& monitor = collector;
  monitor.Warning({"w", 0, nullptr, 1722});
  monitor.Error({"e", 0, nullptr, 1204});
  EXPECT_EQ(collector.heard, (std::vector<std::string>{"warning w", "error e"}));
}

// The index of a virtual function: a pointer to it begins with 1 plus its offset in the table, in bytes.
template <class Member>
std::size_t VirtualSlot(Member member) {
  std::size_t word = 0;
  std::memcpy(&word, &member, sizeof(word));
  return (word - 1) / sizeof(void*);
}

TEST(ErrorMonitor, KeepsTheOrderOfItsVirtualFunctions) {
  EXPECT_EQ(VirtualSlot(&ErrorMonitor::Error), 2u) << "after the two entries of the destructor";
  EXPECT_EQ(VirtualSlot(&ErrorMonitor::Warning), 3u);
}

}  // namespace
}  // namespace ErrorMonitor_test
