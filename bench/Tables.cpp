#include "Tables.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <random>
#include <stdexcept>

namespace {

using Random = std::mt19937_64;

OBS SmallWhole(Random& random) { return NumberCell(static_cast<double>(random() % 100)); }

OBS Fraction(Random& random) { return NumberCell(static_cast<double>(random() % 1'000'000) / 997.0 + 0.001); }

OBS Mixed(Random& random) {
  const auto kind = random() % 100;
  return kind < 90 ? SmallWhole(random) : kind < 95 ? kSystemMissingCell : Fraction(random);
}

Table Empty(std::string name, std::vector<int> types, std::size_t cases) {
  Table table{std::move(name), std::move(types), cases, 0, {}};
  for (const int type : table.types) table.cellsPerCase += CellCount(type);
  table.cells.reserve(cases * table.cellsPerCase);
  return table;
}

// Appends a text of at least half the width, padded with blanks.
void AppendText(std::vector<OBS>& cells, int width, Random& random) {
  std::string text(FieldSize(width), ' ');
  const auto length = static_cast<std::size_t>(width) / 2 + random() % (static_cast<std::size_t>(width) / 2 + 1);
  for (std::size_t i = 0; i < length; ++i) text[i] = static_cast<char>('a' + random() % 26);
  for (std::size_t i = 0; i < text.size(); i += sizeof(OBS)) {
    OBS cell;
    std::memcpy(&cell, text.data() + i, sizeof(cell));
    cells.push_back(cell);
  }
}

// ---- Files ----

class Output {
 public:
  explicit Output(const std::string& path) : m_file(std::fopen(path.c_str(), "wb"), &std::fclose) {
    if (!m_file) throw std::runtime_error("cannot write " + path);
    // Writes in large pieces, like any good writer: the system then also stores the file in large pieces.
    std::setvbuf(m_file.get(), m_buffer.get(), _IOFBF, kBufferSize);
  }
  void Bytes(const void* bytes, std::size_t size) { std::fwrite(bytes, 1, size, m_file.get()); }
  void I32(int number) { Bytes(&number, sizeof(number)); }
  void Text(const std::string& text, std::size_t size) {
    std::string field = text;
    field.resize(size, ' ');
    Bytes(field.data(), size);
  }

 private:
  static constexpr std::size_t kBufferSize = 256UL * 1024;

  std::unique_ptr<char[]> m_buffer = std::make_unique<char[]>(kBufferSize);
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> m_file;  // destroyed first: closing flushes the buffer
};

std::string NewPath() {
  std::string path = (std::filesystem::temp_directory_path() / "datasrc_bench_XXXXXX").string();
  const int file = mkstemp(path.data());
  if (file < 0) throw std::runtime_error("cannot make a temporary file");
  close(file);
  return path;
}

void WriteHeader(Output& out, std::size_t cellsPerCase, int compression, std::size_t cases) {
  out.Text("$FL2", 4);
  out.Text("@(#) benchmark table", 60);
  out.I32(2);
  out.I32(static_cast<int>(cellsPerCase));
  out.I32(compression);
  out.I32(0);
  out.I32(static_cast<int>(cases));
  const double bias = 100.0;
  out.Bytes(&bias, sizeof(bias));
  out.Text("14 Mar 2410:20:30", 17);
  out.Text("", 64);
  out.Bytes("\0\0\0", 3);
}

void WriteVariable(Output& out, int type, const std::string& name, const std::string& label) {
  const int format = type == 0 ? 0x50802 : 0x10000 | type << 8;
  out.I32(2);
  out.I32(type);
  out.I32(label.empty() ? 0 : 1);
  out.I32(0);
  out.I32(format);
  out.I32(format);
  out.Text(name, 8);
  if (!label.empty()) {
    out.I32(static_cast<int>(label.size()));
    out.Text(label, (label.size() + 3) / 4 * 4);
  }
  for (int covered = 8; covered < type; covered += 8) {
    out.I32(2);
    out.I32(-1);
    for (int i = 0; i < 4; ++i) out.I32(0);
    out.Text("", 8);
  }
}

void WriteByteCodes(Output& out, const std::vector<OBS>& cells) {
  unsigned char codes[8];
  OBS literals[8];
  std::size_t count = 0;
  std::size_t literalCount = 0;
  const auto flush = [&] {
    out.Bytes(codes, 8);
    out.Bytes(literals, literalCount * sizeof(OBS));
    count = literalCount = 0;
  };
  for (const OBS cell : cells) {
    const double number = CellNumber(cell);
    unsigned char code = 253;
    if (cell == kSystemMissingCell)
      code = 255;
    else if (cell == kBlankCell)
      code = 254;
    else if (number >= -99 && number <= 151 && cell == NumberCell(static_cast<int>(number)))
      code = static_cast<unsigned char>(static_cast<int>(number) + 100);
    codes[count++] = code;
    if (code == 253) literals[literalCount++] = cell;
    if (count == 8) flush();
  }
  if (count != 0) {
    std::memset(codes + count, 0, 8 - count);
    flush();
  }
}

}  // namespace

Table MakeT1() {
  Table table = Empty("T1", std::vector<int>(50, 0), 1'000'000);
  Random random(1);
  for (std::size_t i = 0; i < table.cases * 50; ++i) table.cells.push_back(Mixed(random));
  return table;
}

Table MakeT2() {
  Table table = Empty("T2", std::vector<int>(20, 0), 1'000'000);
  Random random(2);
  for (std::size_t i = 0; i < table.cases * 20; ++i) table.cells.push_back(Fraction(random));
  return table;
}

Table MakeT3() {
  std::vector<int> types(25, 0);
  for (const int width : {8, 24, 64, 8, 24}) types.push_back(width);
  Table table = Empty("T3", types, 500'000);
  Random random(3);
  for (std::size_t i = 0; i < table.cases; ++i) {
    for (int column = 0; column < 20; ++column) table.cells.push_back(SmallWhole(random));
    for (int column = 0; column < 5; ++column) table.cells.push_back(Fraction(random));
    for (const int width : {8, 24, 64, 8, 24}) AppendText(table.cells, width, random);
  }
  return table;
}

std::uint64_t Checksum(std::uint64_t sum, const OBS* cells, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) sum = (sum ^ cells[i].bits) * 0x9E3779B97F4A7C15;
  return sum;
}

TableFile::TableFile(const Table& table, bool byteCodes) : m_path(NewPath()) {
  Output out(m_path);
  WriteHeader(out, table.cellsPerCase, byteCodes ? 1 : 0, table.cases);
  int number = 0;
  for (const int type : table.types) WriteVariable(out, type, "V" + std::to_string(++number), "");
  out.I32(999);
  out.I32(0);
  if (byteCodes)
    WriteByteCodes(out, table.cells);
  else
    out.Bytes(table.cells.data(), table.Bytes());
}

TableFile::TableFile(int variables) : m_path(NewPath()) {
  Output out(m_path);
  WriteHeader(out, static_cast<std::size_t>(variables), 0, 0);
  for (int i = 1; i <= variables; ++i)
    WriteVariable(out, 0, "V" + std::to_string(i), "the label of variable number " + std::to_string(i));
  out.I32(999);
  out.I32(0);
}

TableFile::~TableFile() { std::filesystem::remove(m_path); }
