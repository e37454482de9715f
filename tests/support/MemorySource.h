// A data source whose cases are in memory, for tests of code that reads a source.
//
//   MemorySource source;
//   source.AddNumber("AGE");
//   source.AddText("NAME", 12);
//   source.AddCase({41.0, "Ann"});
//
// Set up the dictionary before adding the first case: a case keeps the layout that it was added with.

#ifndef TESTS_SUPPORT_MEMORYSOURCE_H
#define TESTS_SUPPORT_MEMORYSOURCE_H

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "datasrc/QUAV_Case.h"
#include "datasrc/QUAV_DataSource.h"
#include "datasrc/QUAV_InputCaseIterator.h"

class MemorySource : public QUAV_DataSource {
 public:
  using Value = std::variant<double, std::string>;
  class Iterator;

  MemorySource() = default;
  // Copies the parent's dictionary without its cases.
  explicit MemorySource(const QUAV_DataSource* parent) : QUAV_DataSource(parent) {}
  // Copies the cases too.
  MemorySource(const MemorySource&) = default;

  // Append a variable and return its column.
  int AddNumber(const char* name) { return Add(name, 0); }
  int AddText(const char* name, int width) { return Add(name, width); }

  // Adds a case with one value for each column.
  void AddCase(const std::vector<Value>& values) {
    std::vector<OBS> cells(GetObsAreaSize());
    QUAV_Case row(*this, cells.data());
    row.InitCase();
    for (std::size_t i = 0; i < values.size(); ++i) Set(row, static_cast<int>(i), values[i]);
    AddCells(std::move(cells));
  }
  // Adds the GetObsAreaSize() cells of a case as they are.
  void AddCells(std::vector<OBS> cells) { m_cases.push_back(std::move(cells)); }

  QUAV_InputCaseIterator* MakeIterator(OBS* buffer) const override;
  long long RowCount() const override { return static_cast<long long>(m_cases.size()); }

 private:
  int Add(const char* name, int type) {
    unsigned int column = 0;
    MakeVariable(type, &column).SetName(name);
    return static_cast<int>(column);
  }

  static void Set(QUAV_Case& row, int column, const Value& value) {
    if (const double* number = std::get_if<double>(&value)) {
      row.SetColumnValue(column, *number);
    } else {
      row.SetColumnValue(column, std::get<std::string>(value).c_str());
    }
  }

  std::vector<std::vector<OBS>> m_cases;
};

class MemorySource::Iterator : public QUAV_InputCaseIterator {
 public:
  Iterator(const MemorySource& source, OBS* buffer) : QUAV_InputCaseIterator(source, buffer), m_source(source) {}

  int IsSeekOK() override { return 1; }
  int Seek(long long row) override {
    if (row < 0 || row > m_source.RowCount()) return 0;
    m_next = row;
    return 1;
  }
  long long Tell() const override { return m_next; }
  int Next() override {
    if (m_next == m_source.RowCount()) return 0;
    const std::vector<OBS>& cells = m_source.m_cases[static_cast<std::size_t>(m_next++)];
    std::copy(cells.begin(), cells.end(), GetObsPointer(0));
    return 1;
  }

 private:
  const MemorySource& m_source;
  long long m_next = 0;
};

inline QUAV_InputCaseIterator* MemorySource::MakeIterator(OBS* buffer) const { return new Iterator(*this, buffer); }

#endif
