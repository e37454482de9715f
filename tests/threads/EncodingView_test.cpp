// Iterators of one view, each on its own thread. Each has its own converter, and all share the plan.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Platform/text/tests/Restore.h"
#include "datasrc/CodePageDataSource.h"
#include "datasrc/SaveFile.h"
#include "datasrc/SystemFileDataSource.h"
#include "datasrc/UTF8DataSource.h"
#include "tests/support/MemorySource.h"
#include "tests/support/Reading.h"
#include "tests/support/TempFile.h"

namespace EncodingView_test {
namespace {

constexpr int kThreads = 4;
constexpr int kCases = 2000;

using Cells = decltype(AllCells(MemorySource()));

// Makes a source with text in the encoding: plain ASCII in some cases, the letter in others.
MemorySource SourceIn(const char* encoding, const std::string& letter) {
  const SystemFileDataSource::TemporaryCodePage present(encoding, 0);
  MemorySource source;
  source.AddNumber("N");
  source.AddText("S", 11);
  for (int i = 0; i < kCases; ++i)
    source.AddCase({static_cast<double>(i), (i % 3 == 0 ? letter : "e") + std::to_string(i)});
  return source;
}

void ExpectAllThreadsRead(const QUAV_DataSource& view, const Cells& expected) {
  std::vector<Cells> read(kThreads);
  std::vector<std::thread> threads;
  for (Cells& cells : read) threads.emplace_back([&view, &cells] { cells = AllCells(view); });
  for (std::thread& thread : threads) thread.join();
  ASSERT_EQ(static_cast<std::size_t>(kCases), expected.size());
  for (const Cells& cells : read) EXPECT_TRUE(expected == cells);
}

TEST(EncodingView, Utf8IteratorsReadOnSeveralThreads) {
  const SystemFileDataSource::TemporaryCodePage utf8("", 1);
  for (const auto& [encoding, letter] : {std::pair{"windows-1252", "\xE4"}, std::pair{"Shift_JIS", "\x83\x41"}}) {
    const MemorySource source = SourceIn(encoding, letter);
    const UTF8DataSource view(source, encoding, nullptr);
    ExpectAllThreadsRead(view, AllCells(view));
  }
}

TEST(EncodingView, CodePageIteratorsReadOnSeveralThreads) {
  const MemorySource source = SourceIn("UTF-8", "ä");
  for (const char* encoding : {"windows-1252", "EUC-KR"}) {
    const CodePageDataSource view(source, encoding, nullptr, false);
    ExpectAllThreadsRead(view, AllCells(view));
  }
}

TEST(EncodingView, FileIteratorsReadOnSeveralThreads) {
  const RestoreEncoding restore;
  ASSERT_TRUE(QUAVMBDefaultCodePageSet_A("windows-1252"));
  const MemorySource source = SourceIn("windows-1252", "\xE4");
  for (const int compression : {0, 1}) {
    const TempFile onDisk("");
    SaveSystemFile(onDisk.Name().c_str(), source, compression);
    const SystemFileDataSource::TemporaryCodePage utf8("", 1);
    const std::unique_ptr<QUAV_DataSource, LineDeleter> view(
        SystemFileDataSource::GetSystemFile(onDisk.Name(), "", false, nullptr));
    ASSERT_NE(nullptr, dynamic_cast<const UTF8DataSource*>(view.get()));
    ExpectAllThreadsRead(*view, AllCells(*view));
  }
}

}  // namespace
}  // namespace EncodingView_test
