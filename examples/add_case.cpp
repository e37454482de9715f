// Copies the cases of a file into a temporary store and adds one more, whose cells are set by column with
// QUAV_DataCell. The file itself does not change.
//
//   add_case penguins.quav

#include <cstdio>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "datasrc/datasrc.h"

namespace {

int Column(const QUAV_DataSource& source, const std::string& name) {
  const int column = source.FindVarIndex(name.c_str(), 0);
  if (column < 0) throw std::runtime_error("the file has no variable " + name);
  return column;
}

// The row starts as system-missing numbers and blank strings. Cells that are not set stay so.
void AddPenguin(TempFileDataStore& store) {
  std::vector<OBS> row(store.GetObsAreaSize());
  store.InitCells(row.data(), 0, static_cast<unsigned int>(store.ColumnCount()));
  QUAV_DataCell(store, Column(store, "island"), row.data()) = "Dream";
  QUAV_DataCell(store, Column(store, "BodyMass"), row.data()) = NumberCell(4000);
  store.AddRow(row.data());
}

void PrintMean(const QUAV_DataSource& source) {
  const int column = Column(source, "BodyMass");
  const std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
  const QUAV_DataCell mass(source, column, *cases);  // a view of the iterator's buffer: it serves all cases
  double total = 0;
  long count = 0;
  while (cases->Next()) {
    if (mass.IsMissing()) continue;
    total += cases->GetNumericValue(column);
    ++count;
  }
  std::printf("%lld cases, mean of %ld body masses %.2f g\n", source.RowCount(), count,
              total / static_cast<double>(count));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: add_case FILE\n");
    return 2;
  }
  try {
    const SystemFileDataSource file(argv[1], "", false);
    TempFileDataStore store(nullptr);
    store.CopyDictionary(file);
    const std::unique_ptr<QUAV_InputCaseIterator> cases(file.MakeIterator(nullptr));
    // The cases of a file without variables never end.
    while (file.ColumnCount() != 0 && cases->Next()) store.AddRow(cases->GetObsPointer(0));
    AddPenguin(store);
    store.Close();
    PrintMean(store);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "add_case: %s\n", error.what());
    return 1;
  }
}
