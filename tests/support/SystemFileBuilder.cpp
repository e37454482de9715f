#include "tests/support/SystemFileBuilder.h"

#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>

namespace {

std::string Padded(std::string_view text, std::size_t size) {
  std::string padded(text.substr(0, size));
  padded.resize(size, ' ');
  return padded;
}

std::string WholeCells(const std::string& text) { return Padded(text, text.empty() ? 8 : (text.size() + 7) / 8 * 8); }

// Returns the code of a number, 253 for one that has to be a literal.
int CodeOfNumber(double number) {
  if (number == kFileSystemMissing) return 255;
  const bool small = -99.0 <= number && number <= 151.0 && std::floor(number) == number;
  const bool minusZero = number == 0.0 && std::signbit(number);
  return small && !minusZero ? static_cast<int>(number) + 100 : 253;
}

// Returns the bytes as one zlib stream.
std::string Deflated(const std::string& plain) {
  uLongf size = compressBound(plain.size());
  std::string packed(size, '\0');
  if (compress(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(plain.data()),
               plain.size()) != Z_OK)
    throw std::runtime_error("zlib does not compress");
  packed.resize(size);
  return packed;
}

std::uint32_t Checksum(std::string_view bytes) {
  return static_cast<std::uint32_t>(crc32_z(0, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size()));
}

}  // namespace

std::string FileText(std::string text, std::size_t width) {
  text.resize((width + 7) / 8 * 8, ' ');
  return text;
}

// ---- Parts ----

void SystemFileBuilder::Number64(std::uint64_t bits, int size) {
  for (int i = 0; i < size; ++i) {
    const int shift = 8 * (m_order == std::endian::little ? i : size - 1 - i);
    m_bytes += static_cast<char>(bits >> shift & 0xFF);
  }
}

SystemFileBuilder& SystemFileBuilder::Raw(std::string_view bytes) {
  m_bytes += bytes;
  return *this;
}

SystemFileBuilder& SystemFileBuilder::I32(std::int32_t number) {
  Number64(static_cast<std::uint32_t>(number), 4);
  return *this;
}

SystemFileBuilder& SystemFileBuilder::I64(std::uint64_t number) {
  Number64(number, 8);
  return *this;
}

SystemFileBuilder& SystemFileBuilder::ChecksumFrom(std::size_t begin) {
  Number64(Checksum(std::string_view(m_bytes).substr(begin)), 4);
  return *this;
}

SystemFileBuilder& SystemFileBuilder::F64(double number) {
  Number64(std::bit_cast<std::uint64_t>(number), 8);
  return *this;
}

SystemFileBuilder& SystemFileBuilder::Text(std::string_view text, std::size_t size) { return Raw(Padded(text, size)); }

SystemFileBuilder& SystemFileBuilder::Value(const FileValue& value) {
  if (const double* number = std::get_if<double>(&value)) return F64(*number);
  return Raw(WholeCells(std::get<std::string>(value)));
}

// ---- Records ----

SystemFileBuilder& SystemFileBuilder::Header(const FileHeader& header) {
  Raw(header.magic).Text(header.eyeCatcher, 60);
  I32(header.layoutCode).I32(header.nominalCaseSize).I32(header.compression).I32(header.weightIndex).I32(header.cases);
  F64(header.bias).Text(header.date, 9).Text(header.time, 8).Text(header.label, 64);
  return Raw(std::string(3, '\0'));
}

SystemFileBuilder& SystemFileBuilder::Variable(const FileVariable& variable) {
  I32(2).I32(variable.type).I32(variable.label ? 1 : 0).I32(variable.missingCount);
  I32(variable.print).I32(variable.write).Text(variable.name, 8);
  if (variable.label) {
    const auto length = variable.label->size();
    I32(static_cast<std::int32_t>(length)).Text(*variable.label, (length + 3) / 4 * 4);
  }
  for (const FileValue& value : variable.missing) Value(value);
  return *this;
}

SystemFileBuilder& SystemFileBuilder::Continuation() { return Variable({.type = -1}); }

SystemFileBuilder& SystemFileBuilder::Number(const std::string& name) { return Variable({.name = name}); }

SystemFileBuilder& SystemFileBuilder::String(const std::string& name, std::int32_t width) {
  const std::int32_t format = 1 << 16 | width << 8;
  Variable({.name = name, .type = width, .print = format, .write = format});
  for (std::int32_t covered = 8; covered < width; covered += 8) Continuation();
  return *this;
}

SystemFileBuilder& SystemFileBuilder::LabelsAlone(const std::vector<FileLabel>& labels) {
  I32(3).I32(static_cast<std::int32_t>(labels.size()));
  for (const FileLabel& pair : labels) {
    const auto length = pair.label.size();
    Value(pair.value).Raw(std::string(1, static_cast<char>(length)));
    Text(pair.label, (length + 8) / 8 * 8 - 1);
  }
  return *this;
}

SystemFileBuilder& SystemFileBuilder::Labels(const std::vector<FileLabel>& labels,
                                             const std::vector<std::int32_t>& slots) {
  return LabelsAlone(labels).Index(slots);
}

SystemFileBuilder& SystemFileBuilder::Index(const std::vector<std::int32_t>& slots) {
  I32(4).I32(static_cast<std::int32_t>(slots.size()));
  for (const std::int32_t slot : slots) I32(slot);
  return *this;
}

SystemFileBuilder& SystemFileBuilder::Documents(const std::vector<std::string>& lines) {
  I32(6).I32(static_cast<std::int32_t>(lines.size()));
  for (const std::string& line : lines) Text(line, 80);
  return *this;
}

SystemFileBuilder& SystemFileBuilder::Extension(std::int32_t subtype, std::int32_t unitSize, std::int32_t nUnits,
                                                std::string_view bytes) {
  return I32(7).I32(subtype).I32(unitSize).I32(nUnits).Raw(bytes);
}

SystemFileBuilder& SystemFileBuilder::End() { return I32(999).I32(0); }

// ---- Cases ----

SystemFileBuilder& SystemFileBuilder::Case(const FileCase& values) {
  for (const FileValue& value : values) Value(value);
  return *this;
}

SystemFileBuilder& SystemFileBuilder::Cases(const std::vector<FileCase>& cases) {
  for (const FileCase& values : cases) Case(values);
  return *this;
}

SystemFileBuilder& SystemFileBuilder::CodedCases(const std::vector<FileCase>& cases) {
  std::string codes;
  SystemFileBuilder literals(m_order);
  const auto endGroup = [&] {
    codes.resize(8, '\0');
    Raw(codes).Raw(literals.Bytes());
    codes.clear();
    literals = SystemFileBuilder(m_order);
  };
  const auto add = [&](int code, const FileValue& cell) {
    codes += static_cast<char>(code);
    if (code == 253) literals.Value(cell);
    if (codes.size() == 8) endGroup();
  };
  for (const FileCase& values : cases) {
    for (const FileValue& value : values) {
      if (const double* number = std::get_if<double>(&value)) {
        add(CodeOfNumber(*number), value);
        continue;
      }
      const std::string text = WholeCells(std::get<std::string>(value));
      for (std::size_t at = 0; at < text.size(); at += 8) {
        const std::string cell = text.substr(at, 8);
        add(cell == std::string(8, ' ') ? 254 : 253, cell);
      }
    }
  }
  if (!codes.empty()) endGroup();
  return *this;
}

SystemFileBuilder& SystemFileBuilder::ZlibCases(const std::vector<FileCase>& cases, std::size_t blockSize,
                                                bool hasTable) {
  const std::string codes = SystemFileBuilder(m_order).CodedCases(cases).Bytes();
  SystemFileBuilder entries(m_order);
  std::uint64_t count = 0;
  for (std::size_t position = 0; position < codes.size(); position += blockSize, ++count) {
    const std::string plain = codes.substr(position, blockSize);
    const std::string packed = Deflated(plain);
    const std::size_t place = Size();
    Raw("ZBLK").I32(static_cast<std::int32_t>(plain.size())).I64(position);
    I32(static_cast<std::int32_t>(packed.size())).I32(static_cast<std::int32_t>(Checksum(plain)));
    ChecksumFrom(place).Raw(packed);
    entries.I64(position).I64(place);
    entries.I32(static_cast<std::int32_t>(packed.size())).I32(static_cast<std::int32_t>(plain.size()));
  }
  if (!hasTable) return *this;
  const std::size_t place = Size();
  Raw("ZTAB").I64(count).I64(codes.size()).Raw(entries.Bytes()).I64(place);
  return ChecksumFrom(place).Raw("ZEND");
}
