#include "tools/statistics/WeightedCases.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "tools/statistics/MissingRule.h"

namespace tool {

namespace {

constexpr std::size_t kBatchSize = std::size_t{2} << 20;  // bytes of cells: larger batches would not stay in a cache
constexpr std::size_t kMostRows = 65'536;
constexpr std::size_t kRowsTogether = 8;  // a reader moves so many at once
constexpr std::size_t kNotThere = static_cast<std::size_t>(-1);

bool HasMissingTexts(const QUAV_Variable& variable) {
  const OBS* unused = nullptr;
  return variable.GetType() != 0 && variable.GetMissingValues(unused, unused, unused) != 0;
}

int RowsOfABatch(const SystemFileDataSource& file, const std::vector<int>& columns) {
  std::size_t size = 1;
  for (const int column : columns) size += FieldSize(file.GetVariable(column).GetType());
  const std::size_t rows = kBatchSize / size;
  return static_cast<int>(std::clamp(rows - rows % kRowsTogether, std::size_t{1}, kMostRows));
}

// Counting takes longer than reading, unless blocks are to be inflated: more threads that read would only disturb.
int ReadingThreads(const SystemFileDataSource& file, int threads) {
  constexpr int kZlib = 2;
  constexpr int kCountingThreads = 4;  // for each that reads
  return file.GetCompressionLevel() == kZlib ? threads : std::max(threads / kCountingThreads, 1);
}

}  // namespace

WeightedCases::WeightedCases(const SystemFileDataSource& file, const std::vector<int>& columns,
                             std::optional<int> weight, int threads)
    : m_file(file), m_weight(weight), m_validPlaces(columns.size(), kNotThere) {
  // Without variables the library would return empty cases forever.
  if (file.ColumnCount() == 0) return;
  std::vector<int> read = columns;
  if (weight) read.push_back(*weight);
  const int rows = RowsOfABatch(file, read);
  const int reading = ReadingThreads(file, threads);
  std::vector<int> texts;
  for (std::size_t place = 0; place < columns.size(); ++place) {
    if (!HasMissingTexts(file.GetVariable(columns[place]))) continue;
    m_validPlaces[place] = texts.size();
    texts.push_back(columns[place]);
  }
  m_reader = std::make_unique<ColumnReader>(
      file, ColumnReaderOptions{.columns = read, .rowsPerBatch = rows, .threads = reading});
  // The library knows which texts are missing: it compares bytes of the file.
  if (!texts.empty())
    m_validReader = std::make_unique<ColumnReader>(
        file, ColumnReaderOptions{.columns = texts, .rowsPerBatch = rows, .dropUserMissing = true, .threads = reading});
}

void WeightedCases::ReadAhead() {
  if (m_ahead) return;
  auto all = m_reader ? m_reader->Next() : nullptr;
  m_ahead = {std::move(all), m_validReader ? m_validReader->Next() : nullptr};
}

bool WeightedCases::Next() {
  m_present = {};
  ReadAhead();
  m_present = *std::exchange(m_ahead, std::nullopt);
  m_rows = m_present.all ? m_present.all->rows : 0;
  m_uncounted = 0;
  if (m_weight && m_present.all) ReadWeights();
  return m_present.all != nullptr;
}

const BatchColumn* WeightedCases::ValidTexts(std::size_t place) const {
  return m_validPlaces[place] == kNotThere ? nullptr : &m_present.valid->columns[m_validPlaces[place]];
}

void WeightedCases::ReadWeights() {
  const double* const stored = m_present.all->columns.back().numbers;
  const MissingRule isMissing(m_file.GetVariable(*m_weight));
  m_weights.resize(static_cast<std::size_t>(m_rows));
  std::transform(stored, stored + m_rows, m_weights.begin(), [&](double weight) {
    const bool counts = weight > 0 && std::isfinite(weight) && !isMissing.Has(weight);
    m_uncounted += counts ? 0 : 1;
    return counts ? weight : 0;
  });
}

}  // namespace tool
