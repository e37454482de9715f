// The mutator of fuzz_records: whole records of a system file are moved, doubled and dropped, and the numbers and texts
// in them are drawn near their limits. The target itself is that of open_file.cpp.
//
// A mutation of single bytes seldom gets past the first record that it makes malformed. This one cuts the input into
// records, changes some, and puts them together with the counts and sizes that then hold, most of the time.
//
// It shares no code with the reader: what it takes for a record need not be one.

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace {

constexpr std::size_t kHeader = 176;
constexpr std::size_t kLayoutCode = 64;
constexpr std::size_t kWord = 4;
constexpr std::size_t kExtensionHead = 4 * kWord;
constexpr int kMostMutations = 4;

using Random = std::minstd_rand;

std::size_t Below(Random& random, std::size_t end) { return end == 0 ? 0 : random() % end; }
bool OneIn(Random& random, std::size_t n) { return Below(random, n) == 0; }

// ---- An input as its records ----

struct Input {
  std::string header;
  std::vector<std::string> records;  // up to the end record
  std::string rest;                  // from the end record on, or from what is no record
  bool reversed = false;

  std::int32_t Word(std::string_view bytes, std::size_t at) const {
    std::array<char, kWord> raw{};
    if (at < bytes.size()) bytes.copy(raw.data(), raw.size(), at);
    if (reversed) std::ranges::reverse(raw);
    return std::bit_cast<std::int32_t>(raw);
  }
  void SetWord(std::string& bytes, std::size_t at, std::int32_t number) const {
    if (at + kWord > bytes.size()) return;
    auto raw = std::bit_cast<std::array<char, kWord>>(number);
    if (reversed) std::ranges::reverse(raw);
    bytes.replace(at, kWord, raw.data(), raw.size());
  }
  std::size_t Size() const {
    std::size_t size = header.size() + rest.size();
    for (const std::string& record : records) size += record.size();
    return size;
  }
};

std::size_t LabelsSize(const Input& input, std::string_view bytes) {
  std::size_t at = 2 * kWord;
  for (std::int32_t i = 0; i < input.Word(bytes, kWord) && at + 9 <= bytes.size(); ++i)
    at += 8 + (static_cast<unsigned char>(bytes[at + 8]) + 8u) / 8 * 8;
  const auto slots = static_cast<std::size_t>(std::max(input.Word(bytes, at + kWord), 0));
  return at + 2 * kWord + slots * kWord;
}

// The size of the record at the start of the bytes; 0 when there is none.
std::size_t RecordSize(const Input& input, std::string_view bytes) {
  const auto number = [&](std::size_t word) {
    return static_cast<std::size_t>(std::max(input.Word(bytes, word * kWord), 0));
  };
  switch (input.Word(bytes, 0)) {
    case 2: {
      const std::size_t label = number(2) == 0 ? 0 : kWord + (number(8) + 3) / kWord * kWord;
      return 8 * kWord + label + static_cast<std::size_t>(std::abs(input.Word(bytes, 3 * kWord) % 4)) * 8;
    }
    case 3:
      return LabelsSize(input, bytes);
    case 6:
      return 2 * kWord + number(1) * 80;
    case 7:
      return kExtensionHead + number(2) * number(3);
    default:
      return 0;
  }
}

Input Parse(std::string_view bytes) {
  Input input;
  input.header = bytes.substr(0, kHeader);
  const std::int32_t layout = input.Word(bytes, kLayoutCode);
  input.reversed = layout < 1 || layout > 255;
  bytes.remove_prefix(input.header.size());
  for (;;) {
    const std::size_t size = RecordSize(input, bytes);
    if (size == 0 || size > bytes.size()) break;
    input.records.emplace_back(bytes.substr(0, size));
    bytes.remove_prefix(size);
  }
  input.rest = bytes;
  return input;
}

std::string Joined(const Input& input) {
  std::string bytes = input.header;
  for (const std::string& record : input.records) bytes += record;
  return bytes + input.rest;
}

// ---- Mutations ----

// A variable record only half of the time: a file has one for every 8 bytes of a string, and one of most others.
std::size_t AnyIndex(const Input& input, Random& random) {
  std::vector<std::size_t> others;
  for (std::size_t i = 0; i < input.records.size(); ++i)
    if (input.Word(input.records[i], 0) != 2) others.push_back(i);
  if (others.empty() || OneIn(random, 2)) return Below(random, input.records.size());
  return others[Below(random, others.size())];
}

std::string& AnyRecord(Input& input, Random& random) { return input.records[AnyIndex(input, random)]; }

auto AnyPlace(Input& input, Random& random) {
  return input.records.begin() + static_cast<std::ptrdiff_t>(Below(random, input.records.size() + 1));
}

void Double(Input& input, Random& random) {
  const std::string copy = AnyRecord(input, random);
  // Now and then more often than anybody would count.
  for (std::size_t times = OneIn(random, 8) ? 20 : 1; times > 0; --times)
    input.records.insert(AnyPlace(input, random), copy);
}

void Drop(Input& input, Random& random) {
  input.records.erase(input.records.begin() + static_cast<std::ptrdiff_t>(AnyIndex(input, random)));
}

void Move(Input& input, Random& random) {
  const auto from = input.records.begin() + static_cast<std::ptrdiff_t>(AnyIndex(input, random));
  const std::string record = *from;
  input.records.erase(from);
  input.records.insert(AnyPlace(input, random), record);
}

// Near the limits of widths, counts, lengths, subtypes and slots, or near what is there.
std::int32_t NearALimit(std::int32_t present, const Input& input, Random& random) {
  constexpr std::array kLimits{0,   1,   3,   4,   8,    10,    16,      25,      80,
                               100, 252, 255, 504, 4096, 32767, 1 << 20, 1 << 24, std::numeric_limits<int>::max() - 1};
  const auto size = static_cast<std::int32_t>(std::min<std::size_t>(input.Size(), 1 << 24));
  std::int64_t number = present;
  if (!OneIn(random, 3)) number = OneIn(random, 8) ? size : kLimits[Below(random, kLimits.size())];
  if (OneIn(random, 4)) number = -number;
  return static_cast<std::int32_t>(number + static_cast<std::int64_t>(Below(random, 3)) - 1);
}

void DrawNumber(Input& input, Random& random) {
  std::string& bytes = OneIn(random, 6) ? input.header : AnyRecord(input, random);
  const std::size_t words = bytes.size() / kWord;
  // Most numbers stand at the beginning.
  const std::size_t at = Below(random, OneIn(random, 2) ? words : std::min<std::size_t>(words, 8)) * kWord;
  input.SetWord(bytes, at, NearALimit(input.Word(bytes, at), input, random));
}

// Sets the size of an extension record from its contents.
void Refit(const Input& input, std::string& record) {
  const std::int32_t unit = std::max(input.Word(record, 2 * kWord), 1);
  const auto units = static_cast<std::int32_t>((record.size() - kExtensionHead) / static_cast<std::size_t>(unit));
  input.SetWord(record, 3 * kWord, units);
  record.resize(kExtensionHead + static_cast<std::size_t>(units) * static_cast<std::size_t>(unit));
}

bool IsExtension(const Input& input, const std::string& record) {
  return input.Word(record, 0) == 7 && record.size() > kExtensionHead;
}

// Changes the text of an extension record between two marks: takes it away, doubles it, or makes a number of it.
void CutText(Input& input, Random& random) {
  constexpr std::string_view kMarks("=\t\n\0 :!/()'", 11);
  std::string& record = AnyRecord(input, random);
  if (!IsExtension(input, record)) return;
  const std::size_t from = kExtensionHead + Below(random, record.size() - kExtensionHead);
  const std::size_t start = std::max(record.find_last_of(kMarks, from) + 1, kExtensionHead);
  const std::size_t end = std::min(record.find_first_of(kMarks, start), record.size());
  const std::string text = record.substr(start, end - start);
  switch (Below(random, 4)) {
    case 0:
      record.erase(start, end - start);
      break;
    case 1:
      record.erase(start, std::min(end + 1, record.size()) - start);
      break;
    case 2:
      record.insert(start, text + (end < record.size() ? record[end] : '\t'));
      break;
    default:
      record.replace(start, end - start, std::to_string(NearALimit(std::atoi(text.c_str()), input, random)));
  }
  Refit(input, record);
}

void CutContents(Input& input, Random& random) {
  std::string& record = AnyRecord(input, random);
  if (!IsExtension(input, record)) return;
  record.resize(kExtensionHead + 1 + Below(random, 2 * (record.size() - kExtensionHead)), '\0');
  Refit(input, record);
}

void MutateBytes(Input& input, Random& random) {
  std::string& record = AnyRecord(input, random);
  const std::size_t start = IsExtension(input, record) ? kExtensionHead : std::min(kWord, record.size());
  auto* const bytes = reinterpret_cast<std::uint8_t*>(record.data()) + start;
  LLVMFuzzerMutate(bytes, record.size() - start, record.size() - start);
}

void MutateOnce(Input& input, Random& random) {
  constexpr std::array kMutations{Double,  Drop,    Move,        DrawNumber, DrawNumber,
                                  CutText, CutText, CutContents, MutateBytes};
  if (!input.records.empty()) kMutations[Below(random, kMutations.size())](input, random);
}

std::size_t Store(const Input& input, std::uint8_t* data, std::size_t maxSize) {
  const std::string bytes = Joined(input);
  const std::size_t size = std::min(bytes.size(), maxSize);
  std::copy_n(bytes.begin(), size, data);
  return size;
}

std::string_view Text(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned int seed) {
  Random random(seed);
  Input input = Parse(Text(data, size));
  if (input.records.empty() || OneIn(random, 20)) return LLVMFuzzerMutate(data, size, maxSize);
  for (std::size_t left = 1 + Below(random, kMostMutations); left > 0; --left) MutateOnce(input, random);
  return Store(input, data, maxSize);
}

// Puts records of the second input among those of the first.
extern "C" std::size_t LLVMFuzzerCustomCrossOver(const std::uint8_t* data1, std::size_t size1,
                                                 const std::uint8_t* data2, std::size_t size2, std::uint8_t* out,
                                                 std::size_t maxSize, unsigned int seed) {
  Random random(seed);
  Input input = Parse(Text(data1, size1));
  Input other = Parse(Text(data2, size2));
  if (!other.records.empty())
    for (std::size_t left = 1 + Below(random, kMostMutations); left > 0; --left)
      input.records.insert(AnyPlace(input, random), AnyRecord(other, random));
  return Store(input, out, maxSize);
}
