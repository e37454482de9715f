// Memory runs out in the C interface: each call returns an error, never ends the process, leaks nothing and leaves no
// half-made file. Every n-th request fails, once alone and once with all that follow.

#include <gmock/gmock.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "datasrc/ArrowStream.h"
#include "datasrc/c_api.h"
#include "tests/columns/ArrowStructs.h"
#include "tests/columns/CodedFile.h"
#include "tests/columns/MadeStream.h"
#include "tests/fault/Requests.h"
#include "tests/support/Seeds.h"
#include "tests/support/TempFile.h"

namespace columns_outofmemory_test {
namespace {

struct FileDeleter {
  void operator()(datasrc_file* file) const { datasrc_close(file); }
};
using OpenFile = std::unique_ptr<datasrc_file, FileDeleter>;

struct TextDeleter {
  void operator()(char* text) const { datasrc_free(text); }
};
using Text = std::unique_ptr<char, TextDeleter>;

// What a call or some calls came to. The result is 0 or the first number that was returned.
struct Outcome {
  int result = 0;
  std::string value = {};

  bool operator==(const Outcome&) const = default;
};

// A stream whose schema and only batch were made before, so that it requests no memory.
class ReadyStream {
 public:
  explicit ReadyStream(const std::vector<MadeColumn>& columns) {
    Arrow<ArrowArrayStream> made = MadeStream(columns).Stream();
    made.get_schema(&made, &m_schema);
    made.get_next(&made, &m_batch);
  }

  ArrowArrayStream Stream() {
    ArrowArrayStream stream{};
    stream.get_schema = [](ArrowArrayStream* self, ArrowSchema* out) {
      *out = std::exchange(static_cast<ArrowSchema&>(Of(self).m_schema), {});
      return 0;
    };
    stream.get_next = [](ArrowArrayStream* self, ArrowArray* out) {
      *out = std::exchange(static_cast<ArrowArray&>(Of(self).m_batch), {});
      return 0;
    };
    stream.get_last_error = [](ArrowArrayStream*) -> const char* { return nullptr; };
    stream.release = [](ArrowArrayStream* self) { self->release = nullptr; };
    stream.private_data = this;
    return stream;
  }

 private:
  static ReadyStream& Of(ArrowArrayStream* self) { return *static_cast<ReadyStream*>(self->private_data); }

  Arrow<ArrowSchema> m_schema;
  Arrow<ArrowArray> m_batch;
};

std::vector<MadeColumn> People() {
  MadeColumn age = NumberColumn<std::int32_t>("age", "i", {31, 42, 53});
  age.metadata = {{kArrowVariableKey, R"({"name": "age", "type": 0, "value_labels": [[42, "all"], [7, "seven"]]})"}};
  return {TextColumn("name", {"Ann", "Bob", "a rather long name"}), age};
}

class CApiOutOfMemory : public testing::Test {
 protected:
  ~CApiOutOfMemory() override { SetUTF8mode(0); }

  // Runs the work with each number of requests granted, until none fails any more. A run that met a failure has either
  // the outcome of the others or the error for missing memory, and then `check` looks at what it left.
  static void Exhaust(
      const std::function<Outcome()>& work, const std::function<void()>& check = [] {}) {
    const Outcome expected = work();
    ASSERT_EQ(0, expected.result) << datasrc_error_text();
    check();
    for (const bool failsOnce : {false, true}) {
      long granted = 0;
      long failures = 0;
      for (bool isOver = false; !isOver; granted += kPlaceStep) {
        SCOPED_TRACE((failsOnce ? "only request " : "all requests from ") + std::to_string(granted));
        Outcome outcome;
        bool isOutOfMemory = false;
        {
          const Requests requests(granted, failsOnce);
          outcome = work();
          isOver = !Requests::HaveFailed();
          isOutOfMemory = IsOutOfMemory(outcome.result);
        }
        if (outcome.result == 0) {
          ASSERT_EQ(expected, outcome);
        } else {
          ++failures;
          ASSERT_FALSE(isOver);
          ASSERT_TRUE(isOutOfMemory) << outcome.result << ": " << datasrc_error_text();
        }
        check();
        if (HasFatalFailure()) return;
        ASSERT_GT(100000, granted);
      }
      EXPECT_LT(3, failures);
    }
  }

  // The layers below the interface have an errno for it, which becomes the reason of an error of the catalog.
  static bool IsOutOfMemory(int result) {
    return result == DATASRC_ERROR_MEMORY || result == ENOMEM ||
           (result == DATASRC_ERROR_CATALOG && std::strstr(datasrc_error_text(), "Cannot allocate memory") != nullptr);
  }

  static OpenFile Opened(const std::string& path, std::uint32_t flags = 0) {
    datasrc_file* file = nullptr;
    EXPECT_EQ(0, datasrc_open(path.c_str(), nullptr, flags, &file)) << datasrc_error_text();
    return OpenFile(file);
  }

  // Reads a stream to its end. Requests no memory itself: the number of rows is the value.
  static int Read(Arrow<ArrowArrayStream>& stream, long long& rows) {
    Arrow<ArrowSchema> schema;
    if (const int number = stream.get_schema(&stream, &schema); number != 0) return number;
    while (true) {
      Arrow<ArrowArray> batch;
      if (const int number = stream.get_next(&stream, &batch); number != 0) {
        // The stream says why, and stays where it is.
        const bool hasText = stream.get_last_error(&stream) != nullptr;
        return hasText && stream.get_next(&stream, &batch) == number ? number : -1;
      }
      if (batch.release == nullptr) return 0;
      rows += batch.length;
    }
  }

  // A number as text without memory.
  static std::string Digits(long long number) {
    std::string text;  // short enough for its own room
    for (; number != 0; number /= 10) text += static_cast<char>('0' + number % 10);
    return text;
  }
};

TEST_F(CApiOutOfMemory, OpeningAFile) {
  for (const char* name : {"metadata.quav", "cp1252.quav", "very_long_strings.quav", "long_string_labels.quav"})
    for (const std::uint32_t flags : {0U, std::uint32_t{DATASRC_OPEN_AS_STORED}}) {
      SCOPED_TRACE(name);
      const std::string path = std::string(SAMPLES_DIR "/") + name;
      Exhaust([&] {
        datasrc_file* file = nullptr;
        const int result = datasrc_open(path.c_str(), nullptr, flags, &file);
        const OpenFile opened(file);
        EXPECT_EQ(result == 0, file != nullptr);
        return Outcome{result};
      });
    }
}

TEST_F(CApiOutOfMemory, MakingADictionary) {
  for (const char* name : {"metadata.quav", "cp1252.quav", "survey.quav"}) {
    SCOPED_TRACE(name);
    const OpenFile file = Opened(std::string(SAMPLES_DIR "/") + name);
    Exhaust([&] {
      char* json = nullptr;
      const int result = datasrc_dictionary(file.get(), &json);
      const Text text(json);
      EXPECT_EQ(result == 0, json != nullptr);
      return Outcome{result};
    });
  }
}

TEST_F(CApiOutOfMemory, ReadingAStream) {
  for (const int compression : {0, 1, 2}) {
    const TempFile onDisk(FileBytes(500, 20, 1, compression));
    const OpenFile file = Opened(onDisk.Name());
    for (const int threads : {1, 2}) {
      SCOPED_TRACE(std::to_string(compression) + " on " + std::to_string(threads));
      datasrc_scan_options options = DATASRC_SCAN_OPTIONS_INIT;
      options.threads = threads;
      options.rows_per_batch = 100;
      Exhaust([&] {
        Arrow<ArrowArrayStream> stream;
        if (const int result = datasrc_scan(file.get(), &options, &stream); result != 0) return Outcome{result};
        long long rows = 0;
        const int result = Read(stream, rows);
        return Outcome{result, result == 0 ? Digits(rows) : std::string()};
      });
    }
  }
}

TEST_F(CApiOutOfMemory, ReadingFewColumns) {
  const TempFile onDisk(FileBytes(5000, 60, 1));
  const OpenFile file = Opened(onDisk.Name());
  const std::array<const char*, 2> names = {"V29", "V3"};
  for (const int threads : {1, 2}) {
    SCOPED_TRACE(threads);
    datasrc_scan_options options = DATASRC_SCAN_OPTIONS_INIT;
    options.columns = names.data();
    options.column_count = names.size();
    options.threads = threads;
    options.rows_per_batch = 500;
    Exhaust([&] {
      Arrow<ArrowArrayStream> stream;
      if (const int result = datasrc_scan(file.get(), &options, &stream); result != 0) return Outcome{result};
      long long rows = 0;
      const int result = Read(stream, rows);
      return Outcome{result, result == 0 ? Digits(rows) : std::string()};
    });
  }
}

TEST_F(CApiOutOfMemory, ReadingLabelsAndTextOfACodePage) {
  for (const char* name : {"metadata.quav", "cp1252.quav"})
    for (const std::uint32_t flags : {0U, std::uint32_t{DATASRC_OPEN_AS_STORED}})
      for (const int threads : {1, 2}) {
        SCOPED_TRACE(name);
        const OpenFile file = Opened(std::string(SAMPLES_DIR "/") + name, flags);
        datasrc_scan_options options = DATASRC_SCAN_OPTIONS_INIT;
        options.threads = threads;
        options.flags = DATASRC_SCAN_LABELS | DATASRC_SCAN_TYPED_DATES;
        Exhaust([&] {
          Arrow<ArrowArrayStream> stream;
          if (const int result = datasrc_scan(file.get(), &options, &stream); result != 0) return Outcome{result};
          long long rows = 0;
          const int result = Read(stream, rows);
          return Outcome{result, result == 0 ? Digits(rows) : std::string()};
        });
      }
}

TEST_F(CApiOutOfMemory, MakingAndReadingSplits) {
  const TempFile onDisk(FileBytes(2000, 20, 1));
  const OpenFile file = Opened(onDisk.Name());
  Exhaust([&] {
    char* tokens = nullptr;
    const int result = datasrc_splits(file.get(), 3, &tokens);
    const Text text(tokens);
    EXPECT_EQ(result == 0, tokens != nullptr);
    return Outcome{result};
  });
  char* tokens = nullptr;
  ASSERT_EQ(0, datasrc_splits(file.get(), 1, &tokens));
  const Text token(tokens);
  for (const int threads : {1, 2}) {
    datasrc_scan_options options = DATASRC_SCAN_OPTIONS_INIT;
    options.threads = threads;
    Exhaust([&] {
      Arrow<ArrowArrayStream> stream;
      if (const int result = datasrc_scan_split(token.get(), nullptr, nullptr, &options, &stream); result != 0)
        return Outcome{result};
      long long rows = 0;
      const int result = Read(stream, rows);
      return Outcome{result, result == 0 ? Digits(rows) : std::string()};
    });
  }
}

class CApiWritingOutOfMemory : public CApiOutOfMemory {
 protected:
  long Entries() const {
    const std::filesystem::directory_iterator entries(m_onDisk.Directory());
    return std::distance(begin(entries), end(entries));
  }

  const TempFile m_onDisk{"the old file"};
};

TEST_F(CApiWritingOutOfMemory, WritingAFile) {
  for (const int compression : {0, 1, 2}) {
    SCOPED_TRACE(compression);
    datasrc_write_options options = DATASRC_WRITE_OPTIONS_INIT;
    options.compression = compression;
    options.dictionary = R"({"label": "People", "variables": [{"name": "age", "label": "Age"}]})";
    options.flags = DATASRC_WRITE_NO_SYNC;
    int result = 0;
    std::unique_ptr<ReadyStream> ready;
    const auto renew = [&] {
      ready = std::make_unique<ReadyStream>(People());
      m_onDisk.SetBytes("the old file");
    };
    renew();
    Exhaust(
        [&] {
          ArrowArrayStream stream = ready->Stream();
          std::int64_t rows = 0;
          char* notes = nullptr;
          result = datasrc_write(&stream, m_onDisk.Name().c_str(), &options, &rows, &notes);
          const Text text(notes);
          EXPECT_EQ(nullptr, stream.release);
          return Outcome{result};
        },
        [&] {
          EXPECT_EQ(1, Entries());
          EXPECT_EQ(result != 0, m_onDisk.Bytes() == "the old file");
          renew();
        });
  }
}

TEST_F(CApiWritingOutOfMemory, AppendingToAFile) {
  for (const int compression : {0, 1, 2}) {
    SCOPED_TRACE(compression);
    datasrc_write_options options = DATASRC_WRITE_OPTIONS_INIT;
    options.compression = compression;
    auto ready = std::make_unique<ReadyStream>(People());
    ArrowArrayStream made = ready->Stream();
    ASSERT_EQ(0, datasrc_write(&made, m_onDisk.Name().c_str(), &options, nullptr, nullptr)) << datasrc_error_text();
    const std::string before = m_onDisk.Bytes();
    int result = 0;
    const auto renew = [&] {
      ready = std::make_unique<ReadyStream>(People());
      m_onDisk.SetBytes(before);
    };
    renew();
    Exhaust(
        [&] {
          ArrowArrayStream stream = ready->Stream();
          result = datasrc_append(&stream, m_onDisk.Name().c_str(), nullptr, 0, nullptr, nullptr);
          EXPECT_EQ(nullptr, stream.release);
          return Outcome{result};
        },
        [&] {
          EXPECT_EQ(1, Entries());
          datasrc_scan_options all = DATASRC_SCAN_OPTIONS_INIT;
          Arrow<ArrowArrayStream> stream;
          ASSERT_EQ(0, datasrc_scan(Opened(m_onDisk.Name()).get(), &all, &stream)) << datasrc_error_text();
          long long rows = 0;
          ASSERT_EQ(0, Read(stream, rows)) << stream.get_last_error(&stream);
          if (result == 0) {
            EXPECT_EQ(6, rows);
          } else {
            EXPECT_LE(3, rows);
            EXPECT_GE(6, rows);
          }
          renew();
        });
  }
}

}  // namespace
}  // namespace columns_outofmemory_test
