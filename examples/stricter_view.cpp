// Shows a file through a view with a dictionary of its own, in which body masses of 6000 g and more are missing values.
// The view does not change the cases, so its iterator is a PassThroughIter.
//
//   stricter_view penguins.quav

#include <cstdio>
#include <exception>
#include <memory>
#include <stdexcept>

#include "datasrc/datasrc.h"

namespace {

int MassColumn(const QUAV_DataSource& source) {
  const int column = source.FindVarIndex("BodyMass", 0);
  if (column < 0) throw std::runtime_error("the file has no variable BodyMass");
  return column;
}

// The parent must outlive the view, and the view must outlive its iterators.
class StricterView : public QUAV_DataSource {
 public:
  // The dictionary starts as a copy of the parent's. A change to it does not reach the parent.
  explicit StricterView(const QUAV_DataSource& parent) : QUAV_DataSource(&parent) {
    const double lowest = 6000;
    GetVariable(MassColumn(*this)).SetMissingRange(&lowest, nullptr, nullptr);
  }
  QUAV_InputCaseIterator* MakeIterator(OBS* buffer) const override {
    return new PassThroughIter(*this, buffer, nullptr);
  }
};

void PrintMean(const char* title, const QUAV_DataSource& source) {
  const int column = MassColumn(source);
  const std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
  double total = 0;
  long count = 0;
  while (cases->Next()) {
    const double mass = cases->GetNumericValue(column);
    if (source.GetVariable(column).IsMissing(mass)) continue;
    total += mass;
    ++count;
  }
  std::printf("%s: mean of %ld body masses %.2f g\n", title, count, total / static_cast<double>(count));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: stricter_view FILE\n");
    return 2;
  }
  try {
    const SystemFileDataSource file(argv[1], "", false);
    PrintMean("file", file);
    PrintMean("view", StricterView(file));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "stricter_view: %s\n", error.what());
    return 1;
  }
}
