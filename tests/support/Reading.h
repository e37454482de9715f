// Helpers for tests that read system files.

#ifndef TESTS_SUPPORT_READING_H
#define TESTS_SUPPORT_READING_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/messages/ThrowError.h"
#include "datasrc/Obs.h"
#include "datasrc/QUAV_InputCaseIterator.h"
#include "datasrc/SystemFileDataSource.h"
#include "systemfile/DictionaryReader.h"
#include "systemfile/SystemFileException.h"
#include "systemfile/SystemFileExtensionRecord.h"
#include "systemfile/SystemFileOptions.h"
#include "tests/support/FaultyStream.h"
#include "tests/support/SystemFileBuilder.h"
#include "tests/support/TempFile.h"

// A dictionary that is read from bytes in memory, magic included, without the other steps of opening a file.
struct ReadDictionary {
  SystemFileDataSource source;
  SystemFileOptions options;
  FaultyStream stream;

  // Throws SystemFileException.
  explicit ReadDictionary(const std::string& bytes) : stream(bytes) {
    TestMagic(stream);
    ReadSystemFileDictionary(source, options, stream);
  }
};

// Returns what reading the dictionary throws, if it throws.
inline std::optional<SystemFileException> FaultOf(const std::string& bytes) {
  try {
    const ReadDictionary read(bytes);
  } catch (const SystemFileException& fault) {
    return fault;
  }
  return std::nullopt;
}

// Returns what the handler of the subtype throws, if it throws, for a record with -1 units of one byte.
inline std::optional<SystemFileException> FaultOfNegativeLength(int subtype) {
  SystemFileDataSource source;
  SystemFileOptions options;
  SystemFileExtensionRecord record;
  record.UnitSize(1);
  record.NUnits(-1);
  try {
    SystemFileExtensionHandler::Read(subtype, source, options, record);
  } catch (const SystemFileException& fault) {
    return fault;
  }
  return std::nullopt;
}

MATCHER_P2(IsFault, number, expression, "is fault " + testing::PrintToString(number) + " \"" + expression + "\"") {
  if (!arg) {
    *result_listener << "which is none";
    return false;
  }
  *result_listener << "which is " << arg->Number() << " \"" << arg->Expression() << "\"";
  return arg->Number() == number && arg->Expression() == expression;
}

// Returns the QuavServerError that a statement throws, if it throws one.
template <class Statement>
std::optional<QuavServerError> ErrorOf(Statement statement) {
  try {
    statement();
  } catch (const QuavServerError& error) {
    return error;
  }
  return std::nullopt;
}

// Returns the cells of a number or a text, as the library is expected to hold them.
inline std::vector<OBS> CellsOf(const FileValue& value) {
  if (const double* number = std::get_if<double>(&value)) return {OBS{std::bit_cast<std::uint64_t>(*number)}};
  std::string text = std::get<std::string>(value);
  text.resize(text.empty() ? 8 : (text.size() + 7) / 8 * 8, ' ');
  std::vector<OBS> cells(text.size() / 8);
  std::memcpy(cells.data(), text.data(), text.size());
  return cells;
}

inline std::vector<OBS> CellsOf(const FileCase& values) {
  std::vector<OBS> cells;
  for (const FileValue& value : values)
    for (const OBS& cell : CellsOf(value)) cells.push_back(cell);
  return cells;
}

inline std::vector<std::vector<OBS>> CellsOf(const std::vector<FileCase>& cases) {
  std::vector<std::vector<OBS>> cells;
  for (const FileCase& values : cases) cells.push_back(CellsOf(values));
  return cells;
}

// Returns the current case of the iterator.
inline std::vector<OBS> PresentCells(const QUAV_InputCaseIterator& iterator) {
  const OBS* cells = iterator.GetObsPointer(0);
  return {cells, cells + iterator.GetDataSource()->GetObsAreaSize()};
}

inline std::vector<std::vector<OBS>> AllCells(const QUAV_DataSource& source) {
  const std::unique_ptr<QUAV_InputCaseIterator> iterator(source.MakeIterator(nullptr));
  std::vector<std::vector<OBS>> cells;
  while (iterator->Next()) cells.push_back(PresentCells(*iterator));
  return cells;
}

// Names the byte order, for tests that run in both.
inline std::string OrderName(const testing::TestParamInfo<std::endian>& info) {
  return info.param == std::endian::little ? "LittleEndian" : "BigEndian";
}

#endif
