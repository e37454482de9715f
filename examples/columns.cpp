// Reads two columns of a system file in batches and prints how they go together; then copies the file through an Arrow
// stream, as a program does that gets its data from another library.
//
//   columns penguins.quav

#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "datasrc/ArrowImport.h"
#include "datasrc/ArrowStream.h"
#include "datasrc/ColumnReader.h"
#include "datasrc/datasrc.h"

namespace {

// Returns the column of a variable.
int ColumnOf(const QUAV_DataSource& source, const std::string& name) {
  for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column)
    if (source.GetVariable(column).GetName() == name) return column;
  throw std::runtime_error("there is no variable " + name);
}

// Pearson's coefficient of correlation, in one pass: sums of squares about the means so far (Welford).
class Correlation {
 public:
  void Add(double x, double y) {
    ++m_count;
    const double dx = x - m_meanX;
    m_meanX += dx / m_count;
    m_xx += dx * (x - m_meanX);
    const double dy = y - m_meanY;
    m_meanY += dy / m_count;
    m_yy += dy * (y - m_meanY);
    m_xy += dx * (y - m_meanY);
  }
  double Coefficient() const { return m_xy / std::sqrt(m_xx * m_yy); }
  double Count() const { return m_count; }

 private:
  double m_count = 0;
  double m_meanX = 0, m_meanY = 0;
  double m_xx = 0, m_yy = 0, m_xy = 0;
};

Correlation CorrelationOf(const QUAV_DataSource& source, int x, int y) {
  Correlation correlation;
  ColumnReader reader(source, {.columns = {{x, y}}, .dropUserMissing = true});
  while (const auto batch = reader.Next()) {
    const BatchColumn& xs = batch->columns[0];
    const BatchColumn& ys = batch->columns[1];
    for (long long row = 0; row < batch->rows; ++row)
      if (xs.HasValue(row) && ys.HasValue(row)) correlation.Add(xs.numbers[row], ys.numbers[row]);
  }
  return correlation;
}

// The stream could come from any library that speaks Arrow.
long long Copy(std::shared_ptr<const QUAV_DataSource> source, const std::string& path) {
  ArrowArrayStream stream;
  ExportArrowStream(std::move(source), {}, &stream);
  return WriteArrowStream(&stream, path, {.dictionary = R"({"label": "A copy"})", .sync = false}).rows;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: columns FILE\n");
    return 2;
  }
  const std::string copy = (std::filesystem::temp_directory_path() / "datasrc-columns-example.quav").string();
  try {
    SetUTF8mode(1);  // all text in UTF-8
    const auto source = std::make_shared<const SystemFileDataSource>(argv[1], "", false);
    const Correlation found = CorrelationOf(*source, ColumnOf(*source, "FlipperLength"), ColumnOf(*source, "BodyMass"));
    std::printf("%.0f pairs, correlation %.3f\n", found.Count(), found.Coefficient());
    std::printf("%lld cases copied through Arrow\n", Copy(source, copy));
    std::filesystem::remove(copy);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "columns: %s\n", error.what());
    return 1;
  }
}
