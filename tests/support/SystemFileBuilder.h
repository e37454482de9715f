// Builds system files for tests, byte by byte, in either byte order.
//
//   SystemFileBuilder file(std::endian::big);
//   file.Header({.compression = 1, .cases = 2}).Number("A").String("S", 20).End();
//   file.CodedCases({{1.0, "first"}, {2.5, "second"}});
//   TempFile onDisk(file.Bytes());
//
// It shares no code with the library: sizes, codes and byte orders are written here again, so that an error in the
// library cannot hide itself. Nothing is checked; a test that wants a malformed file writes its parts by hand.
//
// Threads: one thread at a time for each object.

#ifndef TESTS_SUPPORT_SYSTEMFILEBUILDER_H
#define TESTS_SUPPORT_SYSTEMFILEBUILDER_H

#include <bit>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

// A number in one cell, or a text that is padded with blanks to whole cells of 8 bytes, at least one.
using FileValue = std::variant<double, std::string>;
using FileCase = std::vector<FileValue>;

// Returns the text padded with blanks to all cells of a string variable of the width.
std::string FileText(std::string text, std::size_t width);

struct FileHeader {
  std::string magic = "$FL2";
  std::string eyeCatcher = "@(#) A FILE OF THE TESTS";
  std::int32_t layoutCode = 2;
  std::int32_t nominalCaseSize = 0;
  std::int32_t compression = 0;
  std::int32_t weightIndex = 0;
  std::int32_t cases = -1;
  double bias = 100.0;
  std::string date = "14 Mar 24";
  std::string time = "10:20:30";
  std::string label = {};
};

struct FileVariable {
  std::string name = {};
  std::int32_t type = 0;
  std::optional<std::string> label = {};
  std::int32_t missingCount = 0;
  std::vector<FileValue> missing = {};
  std::int32_t print = 0x00050802;  // a number of width 8 with 2 decimals
  std::int32_t write = 0x00050802;
};

struct FileLabel {
  FileValue value;
  std::string label;
};

// The byte order that this machine does not have.
inline constexpr std::endian kReversedOrder =
    std::endian::native == std::endian::little ? std::endian::big : std::endian::little;

inline constexpr double kFileSystemMissing = -1.7976931348623157e308;

class SystemFileBuilder {
 public:
  explicit SystemFileBuilder(std::endian order = std::endian::native) : m_order(order) {}

  const std::string& Bytes() const { return m_bytes; }
  std::size_t Size() const { return m_bytes.size(); }

  // ---- Parts ----
  SystemFileBuilder& Raw(std::string_view bytes);
  SystemFileBuilder& I32(std::int32_t number);
  SystemFileBuilder& F64(double number);
  // Adds the text, truncated or padded with blanks to `size` bytes.
  SystemFileBuilder& Text(std::string_view text, std::size_t size);
  SystemFileBuilder& Value(const FileValue& value);

  // ---- Records ----
  SystemFileBuilder& Header(const FileHeader& header = {});
  // Adds one record of type 2.
  SystemFileBuilder& Variable(const FileVariable& variable);
  SystemFileBuilder& Continuation();
  // Add all records of a variable.
  SystemFileBuilder& Number(const std::string& name);
  SystemFileBuilder& String(const std::string& name, std::int32_t width);
  // Add the record of type 3, without and with the record of type 4 after it.
  SystemFileBuilder& LabelsAlone(const std::vector<FileLabel>& labels);
  SystemFileBuilder& Labels(const std::vector<FileLabel>& labels, const std::vector<std::int32_t>& slots);
  SystemFileBuilder& Index(const std::vector<std::int32_t>& slots);
  SystemFileBuilder& Documents(const std::vector<std::string>& lines);
  SystemFileBuilder& Extension(std::int32_t subtype, std::int32_t unitSize, std::int32_t nUnits,
                               std::string_view bytes);
  SystemFileBuilder& End();

  // ---- Cases ----
  SystemFileBuilder& Case(const FileCase& values);
  SystemFileBuilder& Cases(const std::vector<FileCase>& cases);
  // Adds groups of case codes; the last group is filled up with codes 0.
  SystemFileBuilder& CodedCases(const std::vector<FileCase>& cases);
  // Adds the same in zlib blocks, each of `blockSize` bytes of codes, and their table when `hasTable`.
  SystemFileBuilder& ZlibCases(const std::vector<FileCase>& cases, std::size_t blockSize, bool hasTable = true);

 private:
  SystemFileBuilder& I64(std::uint64_t number);
  // Adds the CRC-32 of the bytes from `begin` on.
  SystemFileBuilder& ChecksumFrom(std::size_t begin);
  void Number64(std::uint64_t bits, int size);

  std::endian m_order;
  std::string m_bytes;
};

#endif
