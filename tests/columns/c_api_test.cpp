#include "datasrc/c_api.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "tests/columns/ArrowStructs.h"
#include "tests/columns/MadeStream.h"
#include "tests/support/TempFile.h"

using testing::HasSubstr;
using testing::StartsWith;
using Json = nlohmann::ordered_json;

namespace c_api_test {
namespace {

std::string Sample(const std::string& name) { return SAMPLES_DIR "/" + name; }

std::string Contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Opening a file puts the process into the UTF-8 mode; the other tests want it as it was.
class CApi : public testing::Test {
 protected:
  ~CApi() override {
    for (datasrc_file* file : m_files) datasrc_close(file);
    SetUTF8mode(0);
  }

  datasrc_file* Open(const std::string& name, std::uint32_t flags = 0) {
    datasrc_file* file = nullptr;
    EXPECT_EQ(0, datasrc_open(Sample(name).c_str(), nullptr, flags, &file)) << datasrc_error_text();
    m_files.push_back(file);
    return file;
  }

  static std::string Dictionary(const datasrc_file* file) {
    char* json = nullptr;
    EXPECT_EQ(0, datasrc_dictionary(file, &json)) << datasrc_error_text();
    std::string text = json;
    datasrc_free(json);
    return text;
  }

  static Arrow<ArrowArrayStream> Scan(const datasrc_file* file, const datasrc_scan_options* options = nullptr) {
    Arrow<ArrowArrayStream> stream;
    EXPECT_EQ(0, datasrc_scan(file, options, &stream)) << datasrc_error_text();
    return stream;
  }

  static std::vector<std::string> Names(Arrow<ArrowArrayStream>& stream) {
    Arrow<ArrowSchema> schema;
    EXPECT_EQ(0, stream.get_schema(&stream, &schema));
    std::vector<std::string> names;
    for (std::int64_t k = 0; k < schema.n_children; ++k) names.emplace_back(schema.children[k]->name);
    return names;
  }

  static long long Rows(Arrow<ArrowArrayStream>& stream) {
    long long rows = 0;
    while (true) {
      Arrow<ArrowArray> batch;
      EXPECT_EQ(0, stream.get_next(&stream, &batch)) << stream.get_last_error(&stream);
      if (batch.release == nullptr) return rows;
      rows += batch.length;
    }
  }

  // Expects that the scan is the caller's mistake, and returns its text.
  static std::string Mistake(const datasrc_file* file, const datasrc_scan_options& options) {
    ArrowArrayStream stream;
    EXPECT_EQ(DATASRC_ERROR_ARGUMENT, datasrc_scan(file, &options, &stream));
    EXPECT_EQ(nullptr, stream.release);
    EXPECT_EQ(0, datasrc_error_number());
    return datasrc_error_text();
  }

 private:
  std::vector<datasrc_file*> m_files;
};

TEST_F(CApi, TheDictionaryOfEverySampleIsThatOfTheTool) {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(SAMPLES_DIR)) {
    if (entry.path().extension() != ".quav") continue;
    ++count;
    const std::string name = entry.path().stem();
    EXPECT_EQ(Json::parse(Contents(Sample(name + ".json"))), Json::parse(Dictionary(Open(name + ".quav")))) << name;
  }
  EXPECT_GT(count, 10);
}

TEST_F(CApi, AFileOpenedAsStoredKeepsItsWidthsAndShowsTheSameText) {
  const Json shown = Json::parse(Dictionary(Open("cp1252.quav")));
  const datasrc_file* const file = Open("cp1252.quav", DATASRC_OPEN_AS_STORED);
  const Json stored = Json::parse(Dictionary(file));
  ASSERT_EQ(shown["variables"].size(), stored["variables"].size());
  bool isNarrower = false;
  for (std::size_t k = 0; k < stored["variables"].size(); ++k) {
    EXPECT_EQ(shown["variables"][k]["name"], stored["variables"][k]["name"]);
    EXPECT_EQ(shown["variables"][k]["label"], stored["variables"][k]["label"]);
    EXPECT_EQ(shown["variables"][k]["value_labels"], stored["variables"][k]["value_labels"]);
    isNarrower = isNarrower || stored["variables"][k]["type"] < shown["variables"][k]["type"];
  }
  EXPECT_TRUE(isNarrower);
  EXPECT_EQ(shown["label"], stored["label"]);
  EXPECT_EQ(shown["documents"], stored["documents"]);
  Arrow<ArrowArrayStream> stream = Scan(file);
  std::vector<std::string> names;
  for (const Json& variable : shown["variables"]) names.push_back(variable["name"]);
  EXPECT_EQ(names, Names(stream));
}

TEST_F(CApi, AStreamOutlivesItsFile) {
  datasrc_file* file = nullptr;
  ASSERT_EQ(0, datasrc_open(Sample("penguins.quav").c_str(), nullptr, 0, &file));
  Arrow<ArrowArrayStream> stream = Scan(file);
  datasrc_close(file);
  EXPECT_EQ(344, Rows(stream));
}

TEST_F(CApi, ScansColumnsByNameAndARangeOfRows) {
  const datasrc_file* const file = Open("penguins.quav");
  const std::string last = Json::parse(Dictionary(file))["variables"].back()["name"];
  const std::string first = Json::parse(Dictionary(file))["variables"][0]["name"];
  std::string upper = first;
  for (char& c : upper) c = static_cast<char>(std::toupper(c));
  const char* columns[] = {last.c_str(), upper.c_str()};
  datasrc_scan_options options = DATASRC_SCAN_OPTIONS_INIT;
  options.columns = columns;
  options.column_count = 2;
  options.first_row = 340;
  Arrow<ArrowArrayStream> stream = Scan(file, &options);
  EXPECT_EQ((std::vector{last, first}), Names(stream));
  EXPECT_EQ(4, Rows(stream));
  options.row_count = 3;
  Arrow<ArrowArrayStream> shorter = Scan(file, &options);
  EXPECT_EQ(3, Rows(shorter));
  options.row_count = 0;
  Arrow<ArrowArrayStream> empty = Scan(file, &options);
  EXPECT_EQ(0, Rows(empty));
  options.first_row = std::numeric_limits<std::int64_t>::max();
  options.row_count = -1;
  Arrow<ArrowArrayStream> past = Scan(file, &options);
  EXPECT_EQ(0, Rows(past));
  options = DATASRC_SCAN_OPTIONS_INIT;
  options.columns = columns;
  Arrow<ArrowArrayStream> none = Scan(file, &options);
  EXPECT_TRUE(Names(none).empty());
  EXPECT_EQ(344, Rows(none));
}

TEST_F(CApi, ScansOnThreads) {
  const datasrc_file* const file = Open("penguins.quav");
  datasrc_scan_options options = DATASRC_SCAN_OPTIONS_INIT;
  options.rows_per_batch = 10;
  for (const int threads : {0, 1, 2, 1000000}) {
    options.threads = threads;
    Arrow<ArrowArrayStream> stream = Scan(file, &options);
    EXPECT_EQ(344, Rows(stream)) << threads;
  }
}

TEST_F(CApi, TakesTheOptionsOfOlderCallers) {
  datasrc_scan_options options = DATASRC_SCAN_OPTIONS_INIT;
  options.size = offsetof(datasrc_scan_options, threads);
  options.row_count = 5;
  options.threads = options.reserved = -1;  // not the caller's
  Arrow<ArrowArrayStream> stream = Scan(Open("penguins.quav"), &options);
  EXPECT_EQ(5, Rows(stream));
}

TEST_F(CApi, NullPointersAreErrors) {
  datasrc_file* const file = Open("penguins.quav");
  datasrc_file* opened = file;
  ArrowArrayStream stream;
  char* json = nullptr;
  EXPECT_EQ(DATASRC_ERROR_ARGUMENT, datasrc_open(nullptr, nullptr, 0, &opened));
  EXPECT_EQ(nullptr, opened);
  EXPECT_STREQ("path is null", datasrc_error_text());
  EXPECT_EQ(DATASRC_ERROR_ARGUMENT, datasrc_open("x", nullptr, 0, nullptr));
  EXPECT_EQ(DATASRC_ERROR_ARGUMENT, datasrc_dictionary(nullptr, &json));
  EXPECT_EQ(DATASRC_ERROR_ARGUMENT, datasrc_dictionary(file, nullptr));
  EXPECT_EQ(DATASRC_ERROR_ARGUMENT, datasrc_scan(nullptr, nullptr, &stream));
  EXPECT_EQ(nullptr, stream.release);
  EXPECT_EQ(DATASRC_ERROR_ARGUMENT, datasrc_scan(file, nullptr, nullptr));
  datasrc_close(nullptr);
  datasrc_free(nullptr);
}

TEST_F(CApi, WrongOptionsAreErrors) {
  datasrc_file* const file = Open("penguins.quav");
  const datasrc_scan_options good = DATASRC_SCAN_OPTIONS_INIT;
  const char* columns[] = {"sex", nullptr, "nobody"};
  const auto with = [&](auto change) {
    datasrc_scan_options options = good;
    change(options);
    return Mistake(file, options);
  };
  EXPECT_THAT(with([](auto& o) { --o.size; }), HasSubstr("size"));
  EXPECT_THAT(with([](auto& o) { o.flags = 8; }), HasSubstr("flag"));
  EXPECT_EQ("first_row is negative", with([](auto& o) { o.first_row = -1; }));
  EXPECT_EQ("row_count is negative", with([](auto& o) { o.row_count = -2; }));
  EXPECT_EQ("rows_per_batch is negative", with([](auto& o) { o.rows_per_batch = -1; }));
  EXPECT_EQ("threads is negative", with([](auto& o) { o.threads = -1; }));
  EXPECT_EQ("reserved is not 0", with([](auto& o) { o.reserved = 1; }));
  EXPECT_EQ("columns is null", with([](auto& o) { o.column_count = 1; }));
  EXPECT_EQ("the name of a column is null", with([&](auto& o) { o.columns = columns, o.column_count = 2; }));
  EXPECT_EQ("there is no variable nobody", with([&](auto& o) { o.columns = columns + 2, o.column_count = 1; }));
  datasrc_file* opened = nullptr;
  EXPECT_EQ(DATASRC_ERROR_ARGUMENT, datasrc_open("x", nullptr, 2, &opened));
}

TEST_F(CApi, AnErrorHasNumberTextFileAndPlace) {
  datasrc_file* file = nullptr;
  const std::string none = Sample("nobody.quav");
  EXPECT_EQ(DATASRC_ERROR_CATALOG, datasrc_open(none.c_str(), nullptr, 0, &file));
  EXPECT_EQ(nullptr, file);
  EXPECT_EQ(1201, datasrc_error_number());
  EXPECT_EQ(none, datasrc_error_file());
  EXPECT_STRNE("", datasrc_error_text());
  EXPECT_STREQ("", datasrc_error_place());
  EXPECT_EQ(DATASRC_ERROR_CATALOG, datasrc_open(SAMPLES_DIR, nullptr, 0, &file)) << "a folder";
  EXPECT_EQ(1201, datasrc_error_number());
}

// Names that come from the caller may have any bytes.
TEST_F(CApi, ErrorsAreUtf8) {
  datasrc_file* none = nullptr;
  EXPECT_EQ(DATASRC_ERROR_CATALOG, datasrc_open("/no\xFF\xE4where/\xC3\xA4.quav", nullptr, 0, &none));
  EXPECT_STREQ("/no\uFFFD\uFFFDwhere/\u00E4.quav", datasrc_error_file());
  const datasrc_file* const file = Open("penguins.quav");
  const char* columns[] = {"spec\xFFies\xC3"};
  datasrc_scan_options options = DATASRC_SCAN_OPTIONS_INIT;
  options.columns = columns;
  options.column_count = 1;
  EXPECT_EQ("there is no variable spec\uFFFDies\uFFFD", Mistake(file, options));
  Arrow<ArrowArrayStream> stream = MadeStream({TextColumn("na\xFFme", {"Ann"})}).Stream();
  EXPECT_EQ(DATASRC_ERROR_DATA, datasrc_write(&stream, "/nowhere/none.quav", nullptr, nullptr, nullptr));
  EXPECT_THAT(datasrc_error_text(), HasSubstr("na\uFFFDme"));
}

// The file goes while it is read.
TEST_F(CApi, ErrorsOfAStreamAreUtf8) {
  const TempFile onDisk("", "\xFF.quav");
  const std::string bytes = Contents(Sample("penguins.quav"));
  onDisk.SetBytes(bytes);
  datasrc_file* file = nullptr;
  ASSERT_EQ(0, datasrc_open(onDisk.Name().c_str(), nullptr, 0, &file)) << datasrc_error_text();
  Arrow<ArrowArrayStream> stream = Scan(file);
  datasrc_close(file);
  std::filesystem::resize_file(onDisk.Name(), bytes.size() - 20);
  int result = 0;
  while (true) {
    Arrow<ArrowArray> batch;
    result = stream.get_next(&stream, &batch);
    if (result != 0 || batch.release == nullptr) break;
  }
  EXPECT_EQ(EIO, result);
  const std::string text = stream.get_last_error(&stream);
  EXPECT_THAT(text, HasSubstr("\uFFFD.quav"));
  EXPECT_EQ(std::string::npos, text.find('\xFF'));
}

TEST_F(CApi, EachThreadHasItsOwnError) {
  datasrc_file* file = nullptr;
  EXPECT_NE(0, datasrc_open(nullptr, nullptr, 0, &file));
  std::thread([] {
    EXPECT_STREQ("", datasrc_error_text());
    EXPECT_EQ(0, datasrc_error_number());
  }).join();
  EXPECT_STREQ("path is null", datasrc_error_text());
}

// ---- Splits ----

std::vector<std::string> Tokens(const datasrc_file* file, int count) {
  char* text = nullptr;
  EXPECT_EQ(0, datasrc_splits(file, count, &text)) << datasrc_error_text();
  std::istringstream lines(text);
  datasrc_free(text);
  std::vector<std::string> tokens;
  for (std::string line; std::getline(lines, line);) tokens.push_back(line);
  return tokens;
}

// The texts and the numbers of all batches.
std::vector<std::string> Values(Arrow<ArrowArrayStream>& stream) {
  Arrow<ArrowSchema> schema;
  EXPECT_EQ(0, stream.get_schema(&stream, &schema));
  std::vector<std::string> values;
  while (true) {
    Arrow<ArrowArray> batch;
    EXPECT_EQ(0, stream.get_next(&stream, &batch)) << stream.get_last_error(&stream);
    if (batch.release == nullptr) return values;
    for (std::int64_t row = 0; row < batch.length; ++row) {
      for (std::int64_t k = 0; k < batch.n_children; ++k) {
        const void* const* const buffers = batch.children[k]->buffers;
        if (std::string_view(schema.children[k]->format) == "g") {
          values.push_back(std::to_string(static_cast<const double*>(buffers[1])[row]));
        } else {
          const auto* const ends = static_cast<const std::int32_t*>(buffers[1]) + row;
          values.emplace_back(static_cast<const char*>(buffers[2]) + ends[0], ends[1] - ends[0]);
        }
      }
    }
  }
}

TEST_F(CApi, TheStreamsOfAllSplitsAreThatOfTheFile) {
  for (const auto& entry : std::filesystem::directory_iterator(SAMPLES_DIR)) {
    if (entry.path().extension() != ".quav") continue;
    for (const std::uint32_t flags : {std::uint32_t{0}, std::uint32_t{DATASRC_OPEN_AS_STORED}}) {
      const datasrc_file* const file = Open(entry.path().filename(), flags);
      Arrow<ArrowArrayStream> whole = Scan(file);
      for (const int count : {1, 3, 8}) {
        std::vector<std::string> values;
        for (const std::string& token : Tokens(file, count)) {
          Arrow<ArrowArrayStream> stream;
          ASSERT_EQ(0, datasrc_scan_split((token + '\n').c_str(), nullptr, nullptr, nullptr, &stream))
              << datasrc_error_text();
          EXPECT_EQ(Names(whole), Names(stream));
          for (std::string& value : Values(stream)) values.push_back(std::move(value));
        }
        Arrow<ArrowArrayStream> again = Scan(file);
        EXPECT_EQ(Values(again), values) << entry.path() << ' ' << count;
      }
    }
  }
}

TEST_F(CApi, ScansColumnsAndRowsOfASplit) {
  const datasrc_file* const file = Open("penguins.quav");
  const std::vector<std::string> tokens = Tokens(file, 2);
  ASSERT_EQ(2u, tokens.size());
  const char* columns[] = {"sex"};
  datasrc_scan_options options = DATASRC_SCAN_OPTIONS_INIT;
  options.columns = columns;
  options.column_count = 1;
  options.row_count = 3;
  Arrow<ArrowArrayStream> stream;
  ASSERT_EQ(0, datasrc_scan_split(tokens[1].c_str(), nullptr, Sample("penguins.quav").c_str(), &options, &stream));
  EXPECT_EQ(std::vector<std::string>{"sex"}, Names(stream));
  EXPECT_EQ(3, Rows(stream));
}

TEST_F(CApi, WrongSplitsAreErrors) {
  const datasrc_file* const file = Open("penguins.quav");
  char* text = nullptr;
  ArrowArrayStream stream;
  for (const int count : {0, -1, 65537}) {
    EXPECT_EQ(DATASRC_ERROR_ARGUMENT, datasrc_splits(file, count, &text));
    EXPECT_STREQ("count is not from 1 to 65536", datasrc_error_text());
  }
  EXPECT_EQ(DATASRC_ERROR_ARGUMENT, datasrc_splits(nullptr, 1, &text));
  EXPECT_EQ(DATASRC_ERROR_ARGUMENT, datasrc_splits(file, 1, nullptr));
  EXPECT_EQ(DATASRC_ERROR_ARGUMENT, datasrc_scan_split(nullptr, nullptr, nullptr, nullptr, &stream));
  EXPECT_EQ(DATASRC_ERROR_ARGUMENT, datasrc_scan_split("x", nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(DATASRC_ERROR_SPLIT, datasrc_scan_split("x", nullptr, nullptr, nullptr, &stream));
  EXPECT_EQ(nullptr, stream.release);
  EXPECT_STREQ("the token of a split is damaged", datasrc_error_text());
  const std::string token = Tokens(file, 1)[0];
  EXPECT_EQ(DATASRC_ERROR_SPLIT,
            datasrc_scan_split(token.c_str(), nullptr, Sample("survey.quav").c_str(), nullptr, &stream));
  EXPECT_THAT(datasrc_error_text(), HasSubstr("survey.quav"));
  EXPECT_EQ(DATASRC_ERROR_CATALOG,
            datasrc_scan_split(token.c_str(), nullptr, Sample("nobody.quav").c_str(), nullptr, &stream));
  EXPECT_EQ(1201, datasrc_error_number());
}

// Neither the end of the process nor an exception: an error, or cases up to one.
TEST_F(CApi, BadFilesAreErrors) {
  int fatal = 0;
  for (const char* folder : {"bad", "fatal", "found"}) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(Sample(folder))) {
      if (entry.path().extension() != ".quav") continue;
      for (const std::uint32_t flags : {std::uint32_t{0}, std::uint32_t{DATASRC_OPEN_AS_STORED}}) {
        datasrc_file* file = nullptr;
        const int result = datasrc_open(entry.path().c_str(), nullptr, flags, &file);
        EXPECT_EQ(result == 0, file != nullptr);
        if (result != 0) {
          EXPECT_STRNE("", datasrc_error_text());
          if (std::string(folder) == "fatal") {
            ++fatal;
            EXPECT_EQ(1204, datasrc_error_number()) << entry.path();
            EXPECT_THAT(datasrc_error_place(), HasSubstr("byte ")) << entry.path();
          }
          continue;
        }
        Dictionary(file);
        Arrow<ArrowArrayStream> stream;
        const datasrc_scan_options options = DATASRC_SCAN_OPTIONS_INIT;
        if (datasrc_scan(file, &options, &stream) == 0) {
          int failure = 0;
          for (bool more = true; more;) {
            Arrow<ArrowArray> batch;
            failure = stream.get_next(&stream, &batch);
            more = failure == 0 && batch.release != nullptr;
          }
          if (failure != 0) {
            EXPECT_THAT(stream.get_last_error(&stream), StartsWith("error ")) << entry.path();
          }
        }
        datasrc_close(file);
      }
    }
  }
  EXPECT_GT(fatal, 0);
}

TEST_F(CApi, FilesAreOpenedAndReadOnManyThreads) {
  std::vector<std::thread> threads;
  for (int k = 0; k < 4; ++k)
    threads.emplace_back([k] {
      for (int again = 0; again < 5; ++again) {
        datasrc_file* file = nullptr;
        ASSERT_EQ(0, datasrc_open(Sample(k % 2 == 0 ? "cp1252.quav" : "survey.quav").c_str(), nullptr, 0, &file));
        Arrow<ArrowArrayStream> stream = Scan(file);
        EXPECT_FALSE(Names(stream).empty());
        EXPECT_FALSE(Dictionary(file).empty());
        EXPECT_GT(Rows(stream), 0);
        datasrc_close(file);
      }
    });
  for (std::thread& thread : threads) thread.join();
}

TEST_F(CApi, TheVersionIsThatOfTheProject) {
  EXPECT_THAT(datasrc_version(), testing::MatchesRegex("[0-9]+[.][0-9]+[.][0-9]+"));
}

// ---- Encodings ----

TEST_F(CApi, AFileIsOpenedAsIfItStatedAnotherEncoding) {
  datasrc_open_options options = DATASRC_OPEN_OPTIONS_INIT;
  options.encoding = "latin1";
  for (const std::uint32_t flags : {std::uint32_t{0}, std::uint32_t{DATASRC_OPEN_AS_STORED}}) {
    options.flags = flags;
    datasrc_file* file = nullptr;
    ASSERT_EQ(0, datasrc_open_with(Sample("cp1252.quav").c_str(), &options, &file)) << datasrc_error_text();
    const Json dictionary = Json::parse(Dictionary(file));
    Arrow<ArrowArrayStream> whole = Scan(file);
    const std::vector<std::string> values = Values(whole);
    std::vector<std::string> ofSplits;
    for (const std::string& token : Tokens(file, 3)) {
      Arrow<ArrowArrayStream> stream;
      ASSERT_EQ(0, datasrc_scan_split(token.c_str(), nullptr, nullptr, nullptr, &stream)) << datasrc_error_text();
      for (std::string& value : Values(stream)) ofSplits.push_back(std::move(value));
    }
    datasrc_close(file);
    EXPECT_EQ("ISO-8859-1", dictionary["encoding"]);
    EXPECT_EQ("\u00DCberraschung: \u009Cuvre compl\u00E8te", dictionary["label"]);
    EXPECT_THAT(values, testing::Contains("\u0080uro \u009Cuvre"));
    EXPECT_EQ(values, ofSplits);
  }
}

TEST_F(CApi, WrongOptionsOfOpeningAreErrors) {
  const std::string path = Sample("penguins.quav");
  const auto mistake = [&](auto change) {
    datasrc_open_options options = DATASRC_OPEN_OPTIONS_INIT;
    change(options);
    datasrc_file* file = nullptr;
    EXPECT_EQ(DATASRC_ERROR_ARGUMENT, datasrc_open_with(path.c_str(), &options, &file));
    EXPECT_EQ(nullptr, file);
    return std::string(datasrc_error_text());
  };
  EXPECT_EQ("the size of the options is not that of this library", mistake([](auto& o) { --o.size; }));
  EXPECT_EQ("flags has one that is not known", mistake([](auto& o) { o.flags = 2; }));
  EXPECT_EQ("reserved is not 0", mistake([](auto& o) { o.reserved = 1; }));
  EXPECT_EQ("'klingon' is not an encoding that a file can have", mistake([](auto& o) { o.encoding = "klingon"; }));
  EXPECT_EQ("'\uFFFD' is not an encoding that a file can have", mistake([](auto& o) { o.encoding = "\xFF"; }));
  datasrc_file* file = nullptr;
  EXPECT_EQ(DATASRC_ERROR_ARGUMENT, datasrc_open_with(nullptr, nullptr, &file));
  ASSERT_EQ(0, datasrc_open_with(path.c_str(), nullptr, &file));
  datasrc_close(file);
  datasrc_open_options empty = DATASRC_OPEN_OPTIONS_INIT;
  empty.encoding = "";
  ASSERT_EQ(0, datasrc_open_with(path.c_str(), &empty, &file)) << "an empty name is none";
  datasrc_close(file);
}

// ---- Writing ----

class CApiWriting : public CApi {
 protected:
  static Arrow<ArrowArrayStream> People() {
    return MadeStream({TextColumn("name", {"Ann", "Bob"}), NumberColumn<std::int32_t>("age", "i", {31, 42})}).Stream();
  }
  int Write(Arrow<ArrowArrayStream> stream, const datasrc_write_options* options = nullptr) {
    const int result = datasrc_write(&stream, Path(), options, &rows, &notes);
    EXPECT_EQ(nullptr, stream.release);
    return result;
  }
  const char* Path() const { return m_file.Name().c_str(); }
  ~CApiWriting() override { datasrc_free(notes); }

  std::int64_t rows = -1;
  char* notes = nullptr;

 private:
  const TempFile m_file{""};
};

TEST_F(CApiWriting, ReturnsRowsAndNotes) {
  EXPECT_EQ(0, Write(People())) << datasrc_error_text();
  EXPECT_EQ(2, rows);
  EXPECT_STREQ("", notes);
  datasrc_free(notes);
  EXPECT_EQ(0, Write(MadeStream({NumberColumn<std::int64_t>("when", "tss:Asia/Tokyo", {0})}).Stream()));
  EXPECT_STREQ("the times of the column when in the zone Asia/Tokyo are stored in UTC\n", notes);
}

TEST_F(CApiWriting, TakesADictionaryAndAPassword) {
  datasrc_write_options options = DATASRC_WRITE_OPTIONS_INIT;
  options.dictionary = R"({"label": "People", "variables": [{"name": "age", "label": "Age"}]})";
  options.password = "swordfish";
  ASSERT_EQ(0, Write(People(), &options)) << datasrc_error_text();
  datasrc_file* file = nullptr;
  EXPECT_EQ(DATASRC_ERROR_CATALOG, datasrc_open(Path(), nullptr, 0, &file));
  ASSERT_EQ(0, datasrc_open(Path(), "swordfish", 0, &file));
  const Json dictionary = Json::parse(Dictionary(file));
  datasrc_close(file);
  EXPECT_EQ("People", dictionary["label"]);
  EXPECT_EQ("Age", dictionary["variables"][1]["label"]);
}

TEST_F(CApiWriting, RefusesWrongArguments) {
  const std::string before = Contents(Path());
  Arrow<ArrowArrayStream> stream = People();
  EXPECT_EQ(DATASRC_ERROR_ARGUMENT, datasrc_write(nullptr, Path(), nullptr, nullptr, nullptr));
  EXPECT_STREQ("stream is null", datasrc_error_text());
  EXPECT_EQ(DATASRC_ERROR_ARGUMENT, datasrc_write(&stream, nullptr, nullptr, nullptr, nullptr));
  EXPECT_STREQ("path is null", datasrc_error_text());
  EXPECT_EQ(nullptr, stream.release);
  const auto refuse = [&](auto change, const char* text) {
    datasrc_write_options options = DATASRC_WRITE_OPTIONS_INIT;
    change(options);
    EXPECT_EQ(DATASRC_ERROR_ARGUMENT, Write(People(), &options));
    EXPECT_STREQ(text, datasrc_error_text());
  };
  refuse([](auto& options) { options.size = 1; }, "the size of the options is not that of this library");
  refuse([](auto& options) { options.flags = 4; }, "the options have a flag that is not known");
  refuse([](auto& options) { options.compression = 3; }, "compression is not 0, 1 or 2");
  refuse([](auto& options) { options.compression = -1; }, "compression is not 0, 1 or 2");
  EXPECT_EQ(before, Contents(Path()));
}

TEST_F(CApiWriting, ReportsWhatAFileCannotHold) {
  EXPECT_EQ(DATASRC_ERROR_DATA, Write(MadeStream({NumberColumn<std::int64_t>("v", "l", {(1LL << 53) + 1})}).Stream()));
  EXPECT_THAT(datasrc_error_text(), HasSubstr("of the column v in row 0"));
  EXPECT_EQ(0, datasrc_error_number());
  EXPECT_EQ(0, rows);
  EXPECT_EQ(nullptr, notes);
}

TEST_F(CApiWriting, ReportsAFolderThatDoesNotExist) {
  Arrow<ArrowArrayStream> stream = People();
  const std::string path = std::string(Path()) + "/none/file.quav";
  EXPECT_EQ(DATASRC_ERROR_OTHER, datasrc_write(&stream, path.c_str(), nullptr, nullptr, nullptr));
  EXPECT_THAT(datasrc_error_text(), HasSubstr("cannot be created"));
  EXPECT_EQ(path, datasrc_error_file());
}

TEST_F(CApiWriting, AppendsRowsAndRefusesUnknownFlags) {
  ASSERT_EQ(0, Write(People()));
  Arrow<ArrowArrayStream> more = People();
  EXPECT_EQ(0, datasrc_append(&more, Path(), nullptr, 0, &rows, nullptr)) << datasrc_error_text();
  EXPECT_EQ(2, rows);
  Arrow<ArrowArrayStream> most = People();
  EXPECT_EQ(DATASRC_ERROR_ARGUMENT, datasrc_append(&most, Path(), nullptr, 2, nullptr, nullptr));
  datasrc_file* file = nullptr;
  ASSERT_EQ(0, datasrc_open(Path(), nullptr, 0, &file));
  EXPECT_EQ(4, Json::parse(Dictionary(file))["cases"]);
  datasrc_close(file);
}

TEST_F(CApiWriting, AppendsTextInTheEncodingThatIsNamed) {
  ASSERT_EQ(0, Write(People()));
  datasrc_append_options options = DATASRC_APPEND_OPTIONS_INIT;
  options.encoding = "windows-1252";
  const auto append = [&] {
    Arrow<ArrowArrayStream> more =
        MadeStream({TextColumn("name", {"\u00C4g"}), NumberColumn<std::int32_t>("age", "i", {7})}).Stream();
    return datasrc_append_with(&more, Path(), &options, &rows, nullptr);
  };
  EXPECT_EQ(0, append()) << datasrc_error_text();
  EXPECT_EQ(1, rows);
  EXPECT_THAT(Contents(Path()), HasSubstr("\xC4g "));
  const std::string before = Contents(Path());
  options.encoding = "UTF-32";
  EXPECT_EQ(DATASRC_ERROR_ARGUMENT, append());
  EXPECT_STREQ("'UTF-32' is not an encoding that a file can have", datasrc_error_text());
  options = DATASRC_APPEND_OPTIONS_INIT;
  options.flags = DATASRC_WRITE_NO_SYNC;
  EXPECT_EQ(DATASRC_ERROR_ARGUMENT, append());
  options = DATASRC_APPEND_OPTIONS_INIT;
  options.reserved = 1;
  EXPECT_EQ(DATASRC_ERROR_ARGUMENT, append());
  --options.size;
  EXPECT_EQ(DATASRC_ERROR_ARGUMENT, append());
  EXPECT_EQ(before, Contents(Path()));
}

TEST_F(CApiWriting, AppendsNothingToAFileThatIsNone) {
  const std::string before = Contents(Path());
  Arrow<ArrowArrayStream> more = People();
  EXPECT_EQ(DATASRC_ERROR_CATALOG, datasrc_append(&more, Path(), nullptr, 0, nullptr, nullptr));
  EXPECT_EQ(1205, datasrc_error_number()) << "the file is empty";
  EXPECT_EQ(before, Contents(Path()));
}

}  // namespace
}  // namespace c_api_test
