// CSV files with random values in random dialects.
//
//   Source source(seed);
//   const Made made = MakeFile(source);
//   const InputFile file(made.bytes);
//   auto input = Open(file, made);

#ifndef TESTS_PROPERTY_TOOL_CSVFILES_H
#define TESTS_PROPERTY_TOOL_CSVFILES_H

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "tests/cli/InputFile.h"
#include "tools/csv/CsvDialect.h"
#include "tools/files/GzipOutput.h"
#include "tools/files/InputBytes.h"

namespace csvfiles {

using Table = std::vector<std::vector<std::string>>;

class Source {
 public:
  explicit Source(unsigned seed) : m_random(seed) {}

  std::size_t Below(std::size_t limit) { return m_random() % limit; }
  bool OneIn(std::size_t n) { return Below(n) == 0; }
  template <class List>
  auto Pick(const List& list) {
    return list[Below(std::size(list))];
  }
  std::string Digits(std::size_t most) {
    std::string digits;
    for (std::size_t i = 1 + Below(most); i > 0; --i) digits += static_cast<char>('0' + Below(10));
    return digits;
  }

 private:
  std::mt19937 m_random;
};

struct Made {
  tool::CsvDialect dialect;
  std::string encoding;
  std::string lineEnd;
  bool hasMark = false;
  bool isPacked = false;
  Table table;  // without the names
  std::string bytes;
};

// ---- Values ----

inline std::string Padded(std::size_t number, int width) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%0*zu", width, number);
  return text.data();
}

inline std::string Date(Source& source) {
  return Padded(1583 + source.Below(8000), 4) + "-" + Padded(1 + source.Below(12), 2) + "-" +
         Padded(1 + source.Below(31), 2);
}

inline std::string Clock(Source& source) {
  std::string text =
      Padded(source.Below(25), 2) + ":" + Padded(source.Below(60), 2) + ":" + Padded(source.Below(60), 2);
  return source.OneIn(4) ? text + "." + source.Digits(8) : text;
}

inline std::string Number(Source& source, char decimal) {
  std::string text = source.OneIn(4) ? "-" : source.OneIn(20) ? "+" : "";
  text += source.Digits(source.OneIn(5) ? 24 : 6);
  if (source.OneIn(6)) text += std::string(source.Below(10), '0');
  if (source.OneIn(3)) text += decimal + source.Digits(source.OneIn(5) ? 20 : 3);
  if (source.OneIn(10)) text += std::string(source.OneIn(2) ? "e" : "E-") + source.Digits(2);
  return text;
}

inline std::string Text(Source& source) {
  constexpr std::array<const char*, 28> kPieces{
      "a", "B",      "ab",     "x y",    ",", ";", "\t", "|",  "\"", "'", "\"\"",       "\n", "\r\n", "\r",
      " ", "\u00E4", "\u20AC", "\u00FF", "1", "-", ".",  "NA", "0",  "#", "2024-01-01", "[",  "{",    "\\"};
  std::string text;
  for (std::size_t count = source.Below(5); count > 0; --count) text += source.Pick(kPieces);
  return text;
}

inline std::string Value(Source& source, std::size_t kind, const Made& made) {
  if (source.OneIn(12)) return "";
  if (source.OneIn(12) && !made.dialect.missing.empty()) return source.Pick(made.dialect.missing);
  if (source.OneIn(40)) return Text(source);
  switch (kind) {
    case 0:
      return std::to_string(source.Below(1000));
    case 1:
      return Number(source, made.dialect.decimal);
    case 2:
      return Date(source);
    case 3:
      return Date(source) + (source.OneIn(2) ? "T" : " ") + Clock(source);
    case 4:
      return Clock(source);
    case 5:
      return std::string(source.OneIn(3) ? "-" : "") + "P" + std::to_string(source.Below(100'000)) + "DT" +
             std::to_string(source.Below(24)) + "H0M" + std::to_string(source.Below(60)) + "S";
    default:
      return Text(source);
  }
}

// ---- The file ----

inline bool IsPossible(const std::string& value, const tool::CsvDialect& dialect) {
  if (dialect.quote) return true;
  const std::string special = std::string("\r\n \t") + dialect.delimiter;
  return !value.empty() && value.find_first_of(special) == value.npos;
}

inline std::string Field(Source& source, const std::string& value, const tool::CsvDialect& dialect) {
  if (!dialect.quote) return value;
  const std::string special = std::string("\r\n") + dialect.delimiter + *dialect.quote;
  const bool needsQuotes = value.empty() || value.find_first_of(special) != value.npos || value.front() == ' ';
  if (!needsQuotes && !source.OneIn(5)) return value;
  std::string field(1, *dialect.quote);
  for (const char c : value) field.append(c == *dialect.quote ? 2 : 1, c);
  return field + *dialect.quote;
}

inline std::string Line(Source& source, const std::vector<std::string>& values, const Made& made) {
  std::string line;
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (i != 0) line += made.dialect.delimiter;
    line += Field(source, values[i], made.dialect);
  }
  return line + (made.lineEnd.empty() ? std::string(source.Pick(std::array{"\n", "\r\n", "\r"})) : made.lineEnd);
}

inline std::string InUtf16(const std::string& text, bool isBigEndian, bool hasMark) {
  std::string bytes;
  const auto add = [&](unsigned unit) {
    const std::array<unsigned, 2> pair{unit >> 8, unit & 0xFF};
    bytes += static_cast<char>(pair[isBigEndian ? 0 : 1]);
    bytes += static_cast<char>(pair[isBigEndian ? 1 : 0]);
  };
  if (hasMark) add(0xFEFF);
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = [&text](std::size_t at) { return static_cast<unsigned>(static_cast<unsigned char>(text[at])); };
    if (byte(i) < 0x80) {
      add(byte(i));
    } else if (byte(i) < 0xE0) {
      add((byte(i) & 0x1F) << 6 | (byte(i + 1) & 0x3F));
      ++i;
    } else {
      add((byte(i) & 0xF) << 12 | (byte(i + 1) & 0x3F) << 6 | (byte(i + 2) & 0x3F));
      i += 2;
    }
  }
  return bytes;
}

inline std::string Encoded(const std::string& text, const Made& made) {
  if (made.encoding == "UTF-16LE") return InUtf16(text, false, made.hasMark);
  if (made.encoding == "UTF-16BE") return InUtf16(text, true, made.hasMark);
  if (made.encoding.empty()) return made.hasMark ? "\xEF\xBB\xBF" + text : text;
  std::string bytes;
  const QUAVMBConverterPtr converter(QUAVMBConverterNew_A(made.encoding.c_str()));
  EXPECT_EQ(0, QUAVMBU8ToCodePage(converter.get(), bytes, text));
  return bytes;
}

inline Made MakeFile(Source& source) {
  Made made;
  made.dialect.delimiter = source.Pick(std::string(",,,;\t|: ~"));
  made.dialect.quote = source.OneIn(6) ? std::nullopt : std::optional(source.OneIn(4) ? '\'' : '"');
  made.dialect.decimal = source.OneIn(3) ? ',' : '.';
  for (const char* text : {"NA", "-9", "n/a", "."})
    if (source.OneIn(4)) made.dialect.missing.emplace_back(text);
  made.dialect.skippedLines = source.OneIn(4) ? static_cast<long long>(source.Below(4)) : 0;
  made.dialect.hasHeader = !source.OneIn(4);
  made.lineEnd = source.Pick(std::array<std::string, 4>{"\n", "\r\n", "\r", ""});
  made.encoding = source.Pick(std::array<std::string, 6>{"", "", "", "UTF-16LE", "UTF-16BE", "windows-1252"});
  made.hasMark = source.OneIn(2);
  made.isPacked = source.OneIn(10);
  std::string text;
  for (long long i = 0; i < made.dialect.skippedLines; ++i)
    text += "skip\"'" + std::string(made.lineEnd.empty() ? "\n" : made.lineEnd);
  const std::size_t columns = made.dialect.quote ? 1 + source.Below(5) : 2 + source.Below(4);
  std::vector<std::string> names;
  for (std::size_t i = 0; i < columns; ++i) names.push_back("name" + std::to_string(i));
  if (made.dialect.hasHeader) text += Line(source, names, made);
  std::vector<std::size_t> kinds;
  for (std::size_t i = 0; i < columns; ++i) kinds.push_back(source.Below(7));
  const std::size_t rows = source.Below(12) + std::size_t{!made.dialect.hasHeader};
  for (std::size_t row = 0; row < rows; ++row) {
    std::vector<std::string> values;
    for (std::size_t i = 0; i < columns; ++i) {
      std::string value = Value(source, kinds[i], made);
      if (!IsPossible(value, made.dialect)) value = "x";
      values.push_back(value);
    }
    text += Line(source, values, made);
    made.table.push_back(values);
  }
  if (source.OneIn(4)) text += made.lineEnd.empty() ? "\n\n" : made.lineEnd;
  made.bytes = Encoded(text, made);
  if (made.isPacked) {
    tool::GzipOutput packing;
    std::string packed(packing.Pack(made.bytes));
    made.bytes = packed.append(packing.End());
  }
  return made;
}

inline std::unique_ptr<tool::InputBytes> Open(const InputFile& file, const Made& made) {
  auto input = std::make_unique<tool::InputBytes>(file.Path());
  if (made.isPacked) input->Unpack();
  if (!made.encoding.empty()) input->Decode(made.encoding);
  return input;
}

}  // namespace csvfiles

#endif
