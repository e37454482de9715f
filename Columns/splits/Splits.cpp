// A split begins at one of the places that a walk over the data has found (Iterator::FindPlaces): there are many for each
// split, so that those nearest to equal shares of the work are near enough. The token has the place, and opening it lets
// the source know the place, as if its own walk had come by.

#include "datasrc/Splits.h"

#include <algorithm>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <utility>

#include "Columns/dictionary/DictionaryFacts.h"
#include "Columns/dictionary/FileOpening.h"
#include "Columns/splits/SplitMaker.h"
#include "Columns/splits/SplitToken.h"
#include "Platform/Assert.h"
#include "datasrc/CodePageDataSource.h"
#include "datasrc/UTF8DataSource.h"
#include "systemfile/SystemFileIterator.h"

namespace {

// So many places for each split, but at most so many in all.
constexpr long kPlacesPerSplit = 64;
constexpr long kMostPlaces = 1L << 20;

using FileIterator = SystemFileDataSource::Iterator;

std::unique_ptr<FileIterator> IteratorOf(const SystemFileDataSource& file) {
  std::unique_ptr<QUAV_InputCaseIterator> cases(file.MakeIterator(nullptr));
  auto* const iterator = dynamic_cast<FileIterator*>(cases.get());
  QUAV_ASSERT(iterator != nullptr, "a system file has its own iterator");
  static_cast<void>(cases.release());
  return std::unique_ptr<FileIterator>(iterator);
}

// The file, if the source is one or shows it in another encoding; else null.
const SystemFileDataSource* FileShownBy(const QUAV_DataSource& source) {
  const QUAV_DataSource* one = &source;
  while (dynamic_cast<const UTF8DataSource*>(one) != nullptr || dynamic_cast<const CodePageDataSource*>(one) != nullptr)
    one = one->GetParentSource();
  return dynamic_cast<const SystemFileDataSource*>(one);
}

ExtNameStr Absolute(const ExtNameStr& file) {
  return ExtNameStr(std::filesystem::absolute(file.GetGeneric()).string());
}

[[noreturn]] void ThrowChanged(const std::string& path) {
  throw SplitError("the file is not the one of its splits any more: " + path);
}

std::shared_ptr<const QUAV_DataSource> SourceOf(const SplitToken& token, const ExtNameStr& path,
                                                const ExtNameStr& password) {
  try {
    if (token.isAsStored) return dstext::OpenAsStored(path.GetGeneric(), password, token.encoding);
    return dstext::OpenInPresentEncoding(path.GetGeneric(), password, nullptr, token.encoding);
  } catch (const std::invalid_argument&) {
    throw SplitError("the split is of a file in an encoding that this library does not know: " + token.encoding);
  }
}

// Returns the indexes of at most `count` places, which divide the work into about equal parts. The first is 0.
std::vector<std::size_t> Borders(const CasePlaces& places, std::size_t count, std::size_t caseBytes) {
  const auto work = [&](const CasePlace& place) {
    return static_cast<double>(place.position) + static_cast<double>(place.row) * static_cast<double>(caseBytes);
  };
  const double all = work({places.rows, places.length});
  count = std::min(count, places.some.size());
  std::vector<std::size_t> borders = {0};
  while (borders.size() < count) {
    const double wanted = all * static_cast<double>(borders.size()) / static_cast<double>(count);
    const auto after = std::ranges::lower_bound(places.some, wanted, {}, work);
    auto nearest = static_cast<std::size_t>(after - places.some.begin());
    const bool isBeforeNearer =
        nearest != 0 && (after == places.some.end() || wanted - work(places.some[nearest - 1]) < work(*after) - wanted);
    if (isBeforeNearer) --nearest;
    // Each of the splits to come needs a place, too.
    borders.push_back(std::clamp(nearest, borders.back() + 1, places.some.size() - (count - borders.size())));
  }
  return borders;
}

}  // namespace

SplitError::SplitError(const std::string& text) : std::runtime_error(text) {}

SplitError::~SplitError() = default;

// ---- Making ----

SplitMaker::SplitMaker(const QUAV_DataSource& source, int count) : m_count(static_cast<std::size_t>(count)) {
  QUAV_ASSERT(1 <= count && count <= kMostSplits, "1 <= count && count <= kMostSplits");
  const SystemFileDataSource* const file = FileShownBy(source);
  QUAV_ASSERT(file != nullptr, "the source is a system file");
  m_cases = IteratorOf(*file);
  m_path = Absolute(m_cases->FileName());
  m_token.path = m_path.GetU8();
  m_token.isAsStored = &source == file && !file->IsCompatibleEncoding();
  m_token.encoding = file->CharacterEncoding();
}

std::vector<std::string> SplitMaker::Tokens() {
  const std::optional<FileMark> mark = MarkOf(m_path);
  if (!mark || !m_cases->IsFileUnchanged()) ThrowChanged(m_path.GetGeneric());
  m_token.mark = *mark;
  m_token.checksum = ChecksumOf(m_path, m_cases->Row0());
  const CasePlaces places = m_cases->FindPlaces(std::min(static_cast<long>(m_count) * kPlacesPerSplit, kMostPlaces));
  // Rows that were added in the meantime would be in no split.
  if (MarkOf(m_path) != mark) ThrowChanged(m_path.GetGeneric());

  const auto caseBytes = static_cast<std::size_t>(m_cases->CellsOfCase()) * sizeof(OBS);
  const std::vector<std::size_t> borders = Borders(places, m_count, caseBytes);
  std::vector<std::string> tokens;
  for (std::size_t k = 0; k < borders.size(); ++k) {
    const CasePlace& place = places.some[borders[k]];
    m_token.isLast = k + 1 == borders.size();
    m_token.firstRow = place.row;
    m_token.position = place.position;
    m_token.rows = (m_token.isLast ? places.rows : places.some[borders[k + 1]].row) - place.row;
    tokens.push_back(m_token.Text());
  }
  return tokens;
}

std::vector<std::string> MakeSplits(const QUAV_DataSource& source, int count) {
  return SplitMaker(source, count).Tokens();
}

// ---- Opening ----

Split OpenSplit(const std::string& text, const SplitOpening& opening) {
  const SplitToken token = SplitToken::Parse(text);
  ExtNameStr path = opening.file;
  if (path.Empty()) path.SetU8(token.path);
  // A file that is not there is the library's error, with the system's reason.
  const std::optional<FileMark> before = MarkOf(path);
  if (before && *before != token.mark) ThrowChanged(path.GetGeneric());
  Split split;
  split.source = SourceOf(token, path, opening.password);
  const std::unique_ptr<FileIterator> cases = IteratorOf(*dstext::FileBehind(*split.source));
  const bool isSame = before && cases->IsFileUnchanged() && token.checksum == ChecksumOf(path, cases->Row0()) &&
                      MarkOf(path) == before && cases->TakePlace({token.firstRow, token.position});
  if (!isSame) ThrowChanged(path.GetGeneric());
  split.firstRow = token.firstRow;
  split.rows = token.rows;
  split.isLast = token.isLast;
  return split;
}

ColumnReaderOptions Split::InSource(ColumnReaderOptions options) const {
  QUAV_ASSERT(options.firstRow >= 0 && options.rows >= 0, "no number is negative");
  const long long most = isLast ? std::numeric_limits<long long>::max() - firstRow : rows;
  const long long skipped = std::min(options.firstRow, most);
  options.firstRow = firstRow + skipped;
  options.rows = std::min(options.rows, most - skipped);
  return options;
}
