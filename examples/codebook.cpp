// Prints the codebook of a file: its variables and their value labels. Only the dictionary is needed, so it is copied
// into a DataFreeDataSource and the file is closed before the printing begins.
//
//   codebook penguins.quav

#include <cstdio>
#include <exception>
#include <string>

#include "datasrc/datasrc.h"

namespace {

void ReadDictionary(const char* file, DataFreeDataSource& dictionary) {
  dictionary.CopyDictionary(SystemFileDataSource(file, "", false));
}

// A value that is a string comes with all its blanks.
void PrintLabels(QUAV_ValueLabelMap labels) {
  const char* label = nullptr;
  double number = 0;
  std::string text;
  labels.Reset();
  if (labels.Size() != 0 && labels.Type() == 0) {
    while (labels.GetNextPair(number, label)) std::printf("    %g = %s\n", number, label);
  } else {
    while (labels.GetNextPair(text, label)) std::printf("    \"%s\" = %s\n", text.c_str(), label);
  }
}

void PrintCodebook(const QUAV_DataSource& dictionary) {
  for (int column = 0; column < static_cast<int>(dictionary.ColumnCount()); ++column) {
    const QUAV_Variable& variable = dictionary.GetVariable(column);
    std::printf("%s: %s\n", variable.GetName(), variable.GetPreferredLabel().c_str());
    PrintLabels(QUAV_ValueLabelMap(variable.GetValueLabels()));
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: codebook FILE\n");
    return 2;
  }
  try {
    DataFreeDataSource dictionary;
    ReadDictionary(argv[1], dictionary);
    PrintCodebook(dictionary);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "codebook: %s\n", error.what());
    return 1;
  }
}
