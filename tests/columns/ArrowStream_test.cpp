#include "datasrc/ArrowStream.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <cmath>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "Platform/messages/ThrowError.h"
#include "datasrc/QUAV_CProjection.h"
#include "datasrc/QUAV_ValueLabelMap.h"
#include "datasrc/SortIndexInfo.h"
#include "datasrc/TempFileDataStore.h"
#include "tests/columns/ArrowStructs.h"
#include "tests/columns/People.h"
#include "tests/support/MemorySource.h"

using testing::ElementsAre;
using testing::HasSubstr;
using Json = nlohmann::json;
using Stream = Arrow<ArrowArrayStream>;
using Schema = Arrow<ArrowSchema>;
using Array = Arrow<ArrowArray>;

namespace ArrowStream_test {
namespace {

const double kMissing = QUAV_DataSource::SystemMissing();

Stream StreamOf(std::shared_ptr<const QUAV_DataSource> source, const ArrowExportOptions& options = {}) {
  Stream stream;
  ExportArrowStream(std::move(source), options, &stream);
  return stream;
}

Stream StreamOf(const MemorySource& source, const ArrowExportOptions& options = {}) {
  return StreamOf(std::make_shared<MemorySource>(source), options);
}

Schema SchemaOf(Stream& stream) {
  Schema schema;
  EXPECT_EQ(0, stream.get_schema(&stream, &schema)) << stream.get_last_error(&stream);
  return schema;
}

Array NextOf(Stream& stream) {
  Array array;
  EXPECT_EQ(0, stream.get_next(&stream, &array)) << stream.get_last_error(&stream);
  return array;
}

// The first batch, which may be the only one.
Array BatchOf(const MemorySource& source, const ArrowExportOptions& options = {}) {
  Stream stream = StreamOf(source, options);
  return NextOf(stream);
}

TEST(ArrowStream, RefusesNullAsTheResult) {
  Stream stream = StreamOf(People());
  EXPECT_EQ(EINVAL, stream.get_schema(&stream, nullptr));
  EXPECT_EQ(EINVAL, stream.get_next(&stream, nullptr));
  EXPECT_STREQ("there is no place for the array", stream.get_last_error(&stream));
  EXPECT_LT(0, NextOf(stream).length);
}

TEST(ArrowStream, ASchemaNamesColumnsAndTypes) {
  Stream stream = StreamOf(People());
  for (int again = 0; again < 2; ++again) {
    const Schema schema = SchemaOf(stream);
    EXPECT_STREQ("+s", schema.format);
    ASSERT_EQ(2, schema.n_children);
    EXPECT_STREQ("AGE", schema.children[0]->name);
    EXPECT_STREQ("g", schema.children[0]->format);
    EXPECT_STREQ("NAME", schema.children[1]->name);
    EXPECT_STREQ("u", schema.children[1]->format);
    EXPECT_EQ(ARROW_FLAG_NULLABLE, schema.children[0]->flags);
    EXPECT_EQ(nullptr, schema.children[0]->dictionary);
  }
}

TEST(ArrowStream, GivesNumbersAndTextsWithTheirValidity) {
  Stream stream = StreamOf(People());
  const Array batch = NextOf(stream);
  EXPECT_EQ(3, batch.length);
  EXPECT_EQ(0, batch.null_count);
  ASSERT_EQ(1, batch.n_buffers);
  EXPECT_EQ(nullptr, batch.buffers[0]);
  const ArrowArray& age = *batch.children[0];
  EXPECT_EQ(3, age.length);
  EXPECT_EQ(1, age.null_count);
  EXPECT_EQ(0, age.offset);
  EXPECT_EQ(2, age.n_buffers);
  EXPECT_EQ(31.0, ValueAt<double>(age, 0));
  EXPECT_EQ(std::nullopt, ValueAt<double>(age, 1));
  EXPECT_TRUE(std::signbit(ValueAt<double>(age, 2).value()));
  const ArrowArray& name = *batch.children[1];
  EXPECT_EQ(3, name.n_buffers);
  EXPECT_EQ(nullptr, name.buffers[0]) << "no text is missing";
  EXPECT_EQ("Ann", TextAt(name, 0));
  EXPECT_EQ("", TextAt(name, 1));
  EXPECT_EQ("Zoë of Ávila", TextAt(name, 2));
  EXPECT_EQ(nullptr, NextOf(stream).release);
  EXPECT_EQ(nullptr, NextOf(stream).release) << "the end is the end";
  EXPECT_EQ(nullptr, stream.get_last_error(&stream));
}

TEST(ArrowStream, GivesOneBatchAfterTheOther) {
  Stream stream = StreamOf(People(10), {.reading = {.columns = {{1, 0, 1}}, .firstRow = 1, .rowsPerBatch = 4}});
  std::vector<std::int64_t> lengths;
  for (Array batch = NextOf(stream); batch.release != nullptr;) {
    ASSERT_EQ(3, batch.n_children);
    lengths.push_back(batch.length);
    batch.release(&batch);
    stream.get_next(&stream, &batch);
  }
  EXPECT_THAT(lengths, ElementsAre(4, 4, 1));
}

TEST(ArrowStream, UserMissingValuesAreNullIfTheyAreDropped) {
  MemorySource source = People();
  const double missing = 31;
  source.GetVariable(0).SetMissingValues(&missing, nullptr, nullptr);
  EXPECT_EQ(31.0, ValueAt<double>(*BatchOf(source).children[0], 0));
  const Array dropped = BatchOf(source, {.reading = {.dropUserMissing = true}});
  EXPECT_EQ(std::nullopt, ValueAt<double>(*dropped.children[0], 0));
  EXPECT_EQ(2, dropped.children[0]->null_count);
}

TEST(ArrowStream, WideBatchesAreLargeUtf8) {
  MemorySource source;
  source.AddText("TEXT", 32767);
  source.AddCase({"abc"});
  const int most = (std::int64_t{1} << 31) / (3 * 32768);
  Stream narrow = StreamOf(source, {.reading = {.rowsPerBatch = most}});
  EXPECT_STREQ("u", SchemaOf(narrow).children[0]->format);
  Stream wide = StreamOf(source, {.reading = {.rowsPerBatch = most + 1}});
  EXPECT_STREQ("U", SchemaOf(wide).children[0]->format);
  EXPECT_EQ("abc", TextAt<std::int64_t>(*NextOf(wide).children[0], 0));
}

TEST(ArrowStream, UsualBatchesHave65536RowsOfUpTo8Cells) {
  for (const auto& [cells, rows] : std::initializer_list<std::pair<int, int>>{{1, 65536}, {8, 65536}, {9, 58248}}) {
    MemorySource source;
    source.AddText("TEXT", cells * 8);
    for (int row = 0; row <= rows; ++row) source.AddCells(std::vector<OBS>(source.GetObsAreaSize(), kBlankCell));
    Stream stream = StreamOf(source);
    EXPECT_EQ(rows, NextOf(stream).length);
    EXPECT_EQ(1, NextOf(stream).length);
  }
}

TEST(ArrowStream, AnEmptySourceHasASchemaAndNoBatch) {
  Stream stream = StreamOf(People(0));
  EXPECT_EQ(2, SchemaOf(stream).n_children);
  EXPECT_EQ(nullptr, NextOf(stream).release);
}

TEST(ArrowStream, WithoutColumnsTheBatchesCountTheRows) {
  Stream stream = StreamOf(People(5), {.reading = {.columns = std::vector<int>(), .rowsPerBatch = 3}});
  EXPECT_EQ(0, SchemaOf(stream).n_children);
  const Array batch = NextOf(stream);
  EXPECT_EQ(0, batch.n_children);
  EXPECT_EQ(3, batch.length);
  EXPECT_EQ(2, NextOf(stream).length);
  EXPECT_EQ(nullptr, NextOf(stream).release);
}

TEST(ArrowStream, ASourceWithoutVariablesHasNoBatch) {
  Stream stream = StreamOf(std::make_shared<MemorySource>());
  EXPECT_EQ(0, SchemaOf(stream).n_children);
  EXPECT_EQ(nullptr, NextOf(stream).release);
}

// ---- Metadata ----

TEST(ArrowStream, FieldsCarryTheirVariables) {
  MemorySource source = People();
  source.GetVariable(1).SetLabel("Full name");
  Stream stream = StreamOf(source, {.reading = {.columns = {{1}}}});
  const Schema schema = SchemaOf(stream);
  const Json variable = Json::parse(MetadataOf(*schema.children[0]).at(kArrowVariableKey));
  EXPECT_EQ("NAME", variable["name"]);
  EXPECT_EQ("Full name", variable["label"]);
  EXPECT_EQ(14, variable["type"]);
  EXPECT_TRUE(variable["value_labels"].is_null());
}

TEST(ArrowStream, TheSchemaOfASourceThatIsNoFileTellsWhatThereIs) {
  MemorySource source = People();
  source.SetLabel("All people");
  Stream stream = StreamOf(source);
  const Schema schema = SchemaOf(stream);
  const Json file = Json::parse(MetadataOf(schema).at(kArrowFileKey));
  EXPECT_EQ("All people", file["label"]);
  EXPECT_EQ(3, file["cases"]);
  EXPECT_EQ(3, file["cells_per_case"]);
  EXPECT_FALSE(file.contains("variables"));
  for (const char* name : {"compression", "byte_order", "encoding", "encrypted", "eye_catcher", "release"})
    EXPECT_FALSE(file.contains(name)) << name;
}

TEST(ArrowStream, APartOfTheRowsOrColumnsIsNotSaidToBeSorted) {
  MemorySource source = People(10);
  SortIndexInfo info;
  info.SetIndexKeys({{static_cast<int>(source.ObsIndex(0)), 1, 0}});
  info.SetIndex({{"1", 1}, {"9", 10}});
  source.SetSortIndexInfo(info);
  const auto keysOf = [&](const ColumnReaderOptions& reading) {
    Stream stream = StreamOf(source, {.reading = reading});
    const Json file = Json::parse(MetadataOf(SchemaOf(stream)).at(kArrowFileKey));
    EXPECT_EQ(file["sort_keys"].size() * 2, file["sort_index"].size());
    return file["sort_keys"].size();
  };
  EXPECT_EQ(1u, keysOf({}));
  EXPECT_EQ(1u, keysOf({.columns = {{0, 1}}, .rows = 10}));
  EXPECT_EQ(0u, keysOf({.columns = {{1, 0}}}));
  EXPECT_EQ(0u, keysOf({.columns = {{0}}}));
  EXPECT_EQ(0u, keysOf({.columns = {{0, 1, 1}}}));
  EXPECT_EQ(0u, keysOf({.firstRow = 1}));
  EXPECT_EQ(0u, keysOf({.rows = 9}));
}

TEST(ArrowStream, AProjectionAndAStoreCarryMetadataToo) {
  const MemorySource source = People();
  const unsigned int wanted[] = {1};
  Stream projected = StreamOf(std::make_shared<QUAV_CProjection>(source, wanted, 1));
  EXPECT_EQ("NAME", Json::parse(MetadataOf(*SchemaOf(projected).children[0]).at(kArrowVariableKey))["name"]);
  EXPECT_EQ("Ann", TextAt(*NextOf(projected).children[0], 0));
}

// ---- Lifetimes ----

TEST(ArrowStream, ChildrenMayBeMovedOutAndReleasedByThemselves) {
  std::optional<Array> age;
  std::optional<Array> name;
  {
    const Array batch = BatchOf(People());
    name.emplace(*batch.children[1]);
    EXPECT_EQ(31.0, ValueAt<double>(*batch.children[0], 0)) << "its sibling is still in its place";
  }
  EXPECT_EQ("Zoë of Ávila", TextAt(*name, 2)) << "its parent is released";
  {
    const Array batch = BatchOf(People());
    age.emplace(*batch.children[0]);
    name.emplace(*batch.children[1]);
  }
  name.reset();
  EXPECT_EQ(31.0, ValueAt<double>(*age, 0)) << "its sibling is released";
}

TEST(ArrowStream, ADictionaryMayBeMovedOut) {
  MemorySource source = People();
  QUAV_ValueLabelMap map(0);
  map.AddPair(31.0, "thirty-one");
  source.GetVariable(0).SetValueLabels(map);
  std::optional<Array> dictionary;
  {
    Array batch = BatchOf(source, {.labels = true});
    dictionary.emplace(*batch.children[0]->dictionary);
  }
  EXPECT_EQ("thirty-one", TextAt(*dictionary, 0));
}

TEST(ArrowStream, SchemasMayBeMovedOutOfTheirParent) {
  Stream stream = StreamOf(People());
  std::optional<Schema> child;
  {
    const Schema schema = SchemaOf(stream);
    child.emplace(*schema.children[1]);
  }
  EXPECT_STREQ("NAME", child->name);
}

TEST(ArrowStream, KeepsItsSourceAndMayBeReleasedOnAnyThread) {
  auto source = std::make_shared<MemorySource>(People(10));
  const std::weak_ptr<MemorySource> watched = source;
  std::optional<Stream> stream = StreamOf(source, {.reading = {.rowsPerBatch = 5}});
  source.reset();
  EXPECT_FALSE(watched.expired());
  std::optional<Array> batch = NextOf(*stream);
  std::thread([&] { stream.reset(); }).join();
  EXPECT_TRUE(watched.expired());
  EXPECT_EQ("Ann", TextAt(*batch->children[1], 3));
  std::thread([&] { batch.reset(); }).join();
}

TEST(ArrowStream, ASourceHasAnyNumberOfStreams) {
  const auto source = std::make_shared<MemorySource>(People(10));
  Stream one = StreamOf(source, {.reading = {.rowsPerBatch = 4}});
  Stream other = StreamOf(source, {.reading = {.rowsPerBatch = 7}});
  EXPECT_EQ(4, NextOf(one).length);
  EXPECT_EQ(7, NextOf(other).length);
  EXPECT_EQ(4, NextOf(one).length);
  EXPECT_EQ(3, NextOf(other).length);
}

// ---- Errors ----

// A source with a fault after its cases.
class FaultySource : public MemorySource {
 public:
  using MemorySource::MemorySource;
  explicit FaultySource(const MemorySource& source) : MemorySource(source) {}

  QUAV_InputCaseIterator* MakeIterator(OBS* buffer) const override {
    class Faulty : public MemorySource::Iterator {
     public:
      using MemorySource::Iterator::Iterator;
      int Next() override {
        if (MemorySource::Iterator::Next() != 0) return 1;
        throw QuavServerError(1205, "the data end inside a case", "people.quav");
      }
    };
    return new Faulty(*this, buffer);
  }
};

TEST(ArrowStream, AFaultFollowsTheCasesBeforeItAndStays) {
  Stream stream = StreamOf(std::make_shared<FaultySource>(People(5)), {.reading = {.rowsPerBatch = 3}});
  EXPECT_EQ(3, NextOf(stream).length);
  EXPECT_EQ(2, NextOf(stream).length);
  for (int again = 0; again < 3; ++again) {
    Array array;
    EXPECT_EQ(EIO, stream.get_next(&stream, &array));
    EXPECT_EQ(nullptr, array.release);
    EXPECT_STREQ("error 1205: the data end inside a case: people.quav", stream.get_last_error(&stream));
  }
  EXPECT_EQ(2, SchemaOf(stream).n_children) << "the schema is no batch";
}

MemorySource Moments(const std::vector<double>& values, QUAV_Format format) {
  MemorySource source;
  source.AddNumber("WHEN");
  source.GetVariable(0).SetFormat(format);
  for (const double value : values) source.AddCase({value});
  return source;
}

TEST(ArrowStream, AValueThatIsNoDateEndsTheStream) {
  const MemorySource source = Moments({0, 86400, kMissing, 0.5, 86400}, {kFormatDate, 11, 0});
  Stream stream = StreamOf(source, {.reading = {.rowsPerBatch = 2}, .typedDates = true});
  EXPECT_EQ(2, NextOf(stream).length);
  for (int again = 0; again < 2; ++again) {
    Array array;
    EXPECT_EQ(EINVAL, stream.get_next(&stream, &array));
    EXPECT_STREQ("the value 0.5 of the variable WHEN in case 3 cannot be a date32 without loss: read it as a number",
                 stream.get_last_error(&stream));
  }
}

// ---- Dates and times ----

TEST(ArrowStream, TypedDatesHaveTheTypeOfTheirFormat) {
  const std::vector<std::pair<FormatType, const char*>> types = {
      {kFormatDate, "tdD"},  {kFormatDateTime, "tsu:"}, {kFormatTime, "tDu"}, {kFormatDaysAndTime, "tDu"},
      {kFormatWeekday, "g"}, {kFormatMonth, "g"},       {kFormatNumber, "g"}};
  for (const auto& [type, format] : types) {
    const MemorySource source = Moments({86400}, {type, 20, 0});
    Stream plain = StreamOf(source);
    EXPECT_STREQ("g", SchemaOf(plain).children[0]->format);
    Stream typed = StreamOf(source, {.typedDates = true});
    EXPECT_STREQ(format, SchemaOf(typed).children[0]->format) << int{type};
  }
}

TEST(ArrowStream, TypedDatesGiveDaysAndMicroseconds) {
  const Array dates = BatchOf(Moments({0, kMissing, 141428.0 * 86400}, {kFormatDate, 11, 0}), {.typedDates = true});
  EXPECT_EQ(-141428, ValueAt<std::int32_t>(*dates.children[0], 0));
  EXPECT_EQ(std::nullopt, ValueAt<std::int32_t>(*dates.children[0], 1));
  EXPECT_EQ(0, ValueAt<std::int32_t>(*dates.children[0], 2));
  EXPECT_EQ(1, dates.children[0]->null_count);
  const Array moments = BatchOf(Moments({141428.0 * 86400 - 0.5}, {kFormatDateTime, 22, 1}), {.typedDates = true});
  EXPECT_EQ(-500'000, ValueAt<std::int64_t>(*moments.children[0], 0));
  const Array times = BatchOf(Moments({-0.25, 90000}, {kFormatTime, 11, 2}), {.typedDates = true});
  EXPECT_EQ(-250'000, ValueAt<std::int64_t>(*times.children[0], 0));
  EXPECT_EQ(90'000'000'000, ValueAt<std::int64_t>(*times.children[0], 1));
}

TEST(ArrowStream, AUserMissingValueThatIsDroppedNeedNotFit) {
  MemorySource source = Moments({86400, 0.5}, {kFormatDate, 11, 0});
  const double missing = 0.5;
  source.GetVariable(0).SetMissingValues(&missing, nullptr, nullptr);
  const Array batch = BatchOf(source, {.reading = {.dropUserMissing = true}, .typedDates = true});
  EXPECT_EQ(-141427, ValueAt<std::int32_t>(*batch.children[0], 0));
  EXPECT_EQ(std::nullopt, ValueAt<std::int32_t>(*batch.children[0], 1));
}

// ---- Value labels ----

std::vector<std::string> DictionaryOf(const ArrowArray& array) {
  std::vector<std::string> texts;
  for (std::int64_t k = 0; k < array.dictionary->length; ++k) texts.push_back(TextAt(*array.dictionary, k).value());
  return texts;
}

TEST(ArrowStream, ValuesBecomeTheirLabels) {
  MemorySource source;
  source.AddNumber("ANSWER");
  QUAV_ValueLabelMap map(0);
  for (const auto& [value, label] : {std::pair{1.0, "yes"}, {2.0, "no"}, {3.0, "yes"}, {0.0, "zero"}})
    map.AddPair(value, label);
  source.GetVariable(0).SetValueLabels(map);
  for (const double value : {1.0, 3.0, 2.0, kMissing, 0.0, -0.0, 2.5, 2.5, std::nan("")}) source.AddCase({value});
  Stream stream = StreamOf(source, {.reading = {.rowsPerBatch = 4}, .labels = true});
  {
    const Schema schema = SchemaOf(stream);
    EXPECT_STREQ("i", schema.children[0]->format);
    ASSERT_NE(nullptr, schema.children[0]->dictionary);
    EXPECT_STREQ("u", schema.children[0]->dictionary->format);
  }
  const Array first = NextOf(stream);
  EXPECT_THAT(DictionaryOf(*first.children[0]), ElementsAre("zero", "yes", "no")) << "in the order of the values";
  EXPECT_EQ("yes", LabelAt(*first.children[0], 0));
  EXPECT_EQ("yes", LabelAt(*first.children[0], 1));
  EXPECT_EQ("no", LabelAt(*first.children[0], 2));
  EXPECT_EQ(std::nullopt, LabelAt(*first.children[0], 3));
  const Array second = NextOf(stream);
  EXPECT_THAT(DictionaryOf(*second.children[0]), ElementsAre("zero", "yes", "no", "-0.0", "2.5"));
  EXPECT_EQ("zero", LabelAt(*second.children[0], 0));
  EXPECT_EQ("-0.0", LabelAt(*second.children[0], 1)) << "values are compared by bits";
  EXPECT_EQ("2.5", LabelAt(*second.children[0], 3));
  EXPECT_EQ("NaN", LabelAt(*NextOf(stream).children[0], 0));
  EXPECT_THAT(DictionaryOf(*first.children[0]), ElementsAre("zero", "yes", "no")) << "a dictionary never changes";
}

TEST(ArrowStream, TextsOfAnyWidthBecomeTheirLabels) {
  for (const int width : {3, 8, 9, 255, 256, 1000}) {
    MemorySource source;
    source.AddText("TEXT", width);
    const std::string wide(static_cast<std::size_t>(width), 'w');
    QUAV_ValueLabelMap map(width);
    map.AddPair(std::string("ab"), "short");
    map.AddPair(wide, "as wide as the field");
    source.GetVariable(0).SetValueLabels(map);
    for (const std::string& text : {std::string("ab"), wide, std::string("abc"), std::string()}) source.AddCase({text});
    const Array batch = BatchOf(source, {.labels = true});
    EXPECT_EQ("short", LabelAt(*batch.children[0], 0)) << width;
    EXPECT_EQ("as wide as the field", LabelAt(*batch.children[0], 1)) << width;
    EXPECT_EQ("abc", LabelAt(*batch.children[0], 2)) << width;
    EXPECT_EQ("", LabelAt(*batch.children[0], 3)) << width;
  }
}

TEST(ArrowStream, WithoutLabelsAColumnIsPlain) {
  MemorySource source = People();
  source.GetVariable(0).SetValueLabels(QUAV_ValueLabelMap(0));
  Stream stream = StreamOf(source, {.labels = true});
  EXPECT_STREQ("g", SchemaOf(stream).children[0]->format) << "a map without pairs";
  EXPECT_STREQ("u", SchemaOf(stream).children[1]->format) << "no map";
}

TEST(ArrowStream, TextOfTheDictionaryIsConvertedFromTheGivenEncoding) {
  MemorySource source;
  source.AddNumber("\xE9T\xE9");
  QUAV_ValueLabelMap map(0);
  map.AddPair(1.0, "\xE9t\xE9");
  source.GetVariable(0).SetValueLabels(map);
  source.AddCase({1.0});
  Stream stream = StreamOf(source, {.reading = {.encoding = "windows-1252"}, .labels = true});
  const Schema schema = SchemaOf(stream);
  EXPECT_STREQ("éTé", schema.children[0]->name);
  const Json variable = Json::parse(MetadataOf(*schema.children[0]).at(kArrowVariableKey));
  EXPECT_EQ("éTé", variable["name"]);
  EXPECT_EQ("été", variable["value_labels"][0][1]);
  EXPECT_EQ("été", LabelAt(*NextOf(stream).children[0], 0));
}

}  // namespace
}  // namespace ArrowStream_test
