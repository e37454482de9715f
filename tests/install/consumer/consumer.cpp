// Prints the names of the variables of a system file, one per line.

#include <datasrc/datasrc.h>

#include <exception>
#include <iostream>

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  try {
    const SystemFileDataSource source(argv[1], "", false);
    for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column)
      std::cout << source.GetVariable(column).GetName() << '\n';
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
