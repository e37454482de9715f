// Makes an Arrow stream of the input, with columns of any type and layout, and writes it to a system file. The stream is
// refused, or the file has its rows and opens again.
//
// Pointers of an array are trusted, so its buffers have room for what its length and its offsets say.

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "Platform/messages/ThrowError.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/ArrowImport.h"
#include "datasrc/ArrowStream.h"
#include "datasrc/ColumnReader.h"
#include "datasrc/datasrc.h"
#include "tests/columns/MadeStream.h"

namespace {

constexpr std::int64_t kMostRows = 40;
constexpr std::size_t kWidestElement = 32;

const std::vector<std::string> kFormats{
    "n",    "b",       "c",         "C",   "s",        "S",          "i",       "I",         "l",   "L",
    "e",    "f",       "g",         "u",   "U",        "vu",         "tdD",     "tdm",       "tts", "ttn",
    "tss:", "tsn:UTC", "tsu:Asia/", "tDu", "d:9,2,32", "d:18,-3,64", "d:38,10", "d:76,0,256"};

// Offsets within `size` bytes, sometimes in a wrong order.
template <class Offset>
std::string Offsets(FuzzedDataProvider& input, std::int64_t count, std::size_t size) {
  std::vector<Offset> offsets(static_cast<std::size_t>(count + 1));
  Offset last = 0;
  for (Offset& offset : offsets) {
    last = static_cast<Offset>(
        std::min<std::size_t>(size, static_cast<std::size_t>(last) + input.ConsumeIntegral<std::uint8_t>() % 8));
    offset = input.ConsumeIntegral<std::uint8_t>() == 0 ? Offset{-1} : last;
  }
  return BytesOf(offsets);
}

std::string Elements(FuzzedDataProvider& input, std::int64_t count) {
  std::string bytes = input.ConsumeBytesAsString(static_cast<std::size_t>(count) * 8);
  bytes.resize(static_cast<std::size_t>(count) * kWidestElement);
  return bytes;
}

MadeColumn Column(FuzzedDataProvider& input, const std::string& name, std::int64_t rows, bool mayHaveDictionary) {
  MadeColumn column;
  column.name = name;
  column.format = input.ConsumeBool() ? input.PickValueInArray({"u", "U", "i", "c"})
                                      : kFormats[input.ConsumeIntegralInRange<std::size_t>(0, kFormats.size() - 1)];
  column.offset = input.ConsumeIntegralInRange<std::int64_t>(0, 9);
  column.length = rows + input.ConsumeIntegralInRange<std::int64_t>(0, 2);
  const std::int64_t count = column.offset + column.length;
  if (input.ConsumeBool()) {
    std::string bits = input.ConsumeBytesAsString(static_cast<std::size_t>(count + 7) / 8);
    bits.resize(static_cast<std::size_t>(count + 7) / 8);
    column.buffers.emplace_back(bits);
  } else {
    column.buffers.emplace_back();
  }
  const std::string text = input.ConsumeRandomLengthString(200);
  if (column.format == "u") {
    column.buffers.insert(column.buffers.end(), {Offsets<std::int32_t>(input, count, text.size()), text});
  } else if (column.format == "U") {
    column.buffers.insert(column.buffers.end(), {Offsets<std::int64_t>(input, count, text.size()), text});
  } else if (column.format == "vu") {
    const auto size = static_cast<std::int64_t>(text.size());
    column.buffers.insert(column.buffers.end(), {Elements(input, count), text, BytesOf<std::int64_t>({size})});
  } else {
    column.buffers.emplace_back(Elements(input, count));
  }
  if (input.ConsumeIntegral<std::uint8_t>() == 0) column.buffers.pop_back();
  if (mayHaveDictionary && input.ConsumeBool())
    column.dictionary = std::make_shared<MadeColumn>(
        Column(input, "", input.ConsumeIntegralInRange<std::int64_t>(0, 5), input.ConsumeBool()));
  if (input.ConsumeBool()) column.metadata = {{kArrowVariableKey, input.ConsumeRandomLengthString(200)}};
  return column;
}

void RequireRows(const std::string& path, long long rows) {
  const SystemFileDataSource file(path, "", false);
  ColumnReader reader(file);
  long long count = 0;
  while (const auto batch = reader.Next()) count += batch->rows;
  if (count != rows) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool utf8 = (SetUTF8mode(1), true);
  static const std::string path =
      (std::filesystem::temp_directory_path() / ("fuzz-arrow-in-" + std::to_string(getpid()) + ".quav")).string();
  FuzzedDataProvider input(data, size);
  ArrowWriteOptions options{.compression = utf8 ? input.ConsumeIntegralInRange(0, 2) : 0, .sync = false};
  options.roundTimes = input.ConsumeBool();
  if (input.ConsumeBool()) options.dictionary = input.ConsumeRandomLengthString(300);
  const std::int64_t rows = input.ConsumeIntegralInRange<std::int64_t>(0, kMostRows);
  std::vector<MadeColumn> columns;
  for (int k = input.ConsumeIntegralInRange(1, 4); k > 0; --k)
    columns.push_back(Column(input, "v" + std::to_string(k), rows, true));
  Arrow<ArrowArrayStream> stream = MadeStream(columns).Stream();
  try {
    const ArrowImportResult result = WriteArrowStream(&stream, path, options);
    RequireRows(path, result.rows);
    std::filesystem::remove(path);
  } catch (const ArrowImportError&) {
    // A stream that no system file can hold, reported as such.
  } catch (const QuavServerError&) {
    // A dictionary that no system file can hold.
  }
  return 0;
}
