#include "systemfile/CompressedSystemFile.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "Platform/Assert.h"
#include "storage/sparsefileindex.h"
#include "systemfile/GroupReader.h"
#include "systemfile/GroupWriter.h"
#include "systemfile/SystemFileException.h"
#include "systemfile/SystemFileOptions.h"

struct CompressedSystemFile::Data {
  Data(const SystemFileOptions& theOptions, QUAV_FileStream& stream, QUAV_SparseFileIndex& theIndex, long row0)
      : _row0pos(row0),
        _options(theOptions),
        index(theIndex),
        _file(stream),
        reader(stream, theOptions.layout.NominalCaseSize()) {}

  // Returns the position of the next code, counted from row 0.
  long Tell() const;
  void Seek(long position);
  // Moves to the row, or as far as whole cases exist, and sets reachedRow on the way.
  void Walk(long long row);
  // Moves to requestedRow, and sets it to where that leads.
  void MoveToRequestedRow();
  void BeginWriting();
  template <class Find, class Take, class ReadOne>
  void ReadMany(int most, int& count, Find find, Take take, ReadOne readOne);

  static constexpr long long kNowhere = -1;

  long long actualRow = 0;     // at the stream's position; kNowhere after a fault inside a case
  long long requestedRow = 0;  // of the next call
  long long reachedRow = 0;    // all cases before it exist; set by Walk
  long _row0pos;
  long long lastCaseRow = kNowhere;  // the case read or skipped last, and its position
  long lastCasePosition = 0;
  const SystemFileOptions& _options;
  QUAV_SparseFileIndex index;  // a handle of its own
  QUAV_FileStream& _file;
  GroupReader reader;
  BegunGroup found;                   // by BeginAppend
  std::optional<GroupWriter> writer;  // from the first case that is written, or from BeginAppend
  bool dirty = false;
};

[[gnu::always_inline]] inline long CompressedSystemFile::Data::Tell() const {
  const long filepos = writer ? writer->GroupStart() : reader.GroupStart();
  QUAV_ASSERT((filepos - _row0pos) % static_cast<long>(sizeof(OBS)) == 0, "(filepos-_row0pos)%sizeof(OBS) == 0");
  return filepos - _row0pos + (writer ? writer->CodeIndex() : reader.CodeIndex());
}

void CompressedSystemFile::Data::Seek(long position) {
  const long code = position % kCodesPerGroup;
  reader.Seek(position + _row0pos - code, static_cast<int>(code));
}

CompressedSystemFile::CompressedSystemFile(const SystemFileOptions& options, QUAV_FileStream& file,
                                           QUAV_SparseFileIndex& index, long row0)
    : m_(std::make_unique<Data>(options, file, index, row0)) {
  // If this fails, the first case is sought again, which then reports the failure.
  if (file.Seek(row0, kSeekFromStart) != 0) m_->actualRow = Data::kNowhere;
}

CompressedSystemFile::~CompressedSystemFile() {
  try {
    Flush();
  } catch (...) {
    // A destructor must not throw. The stream remembers that it failed; who must know of a lack of memory flushes before.
  }
}

void CompressedSystemFile::Seek(long long row) { m_->requestedRow = row; }

long long CompressedSystemFile::Tell() const { return m_->requestedRow; }

void CompressedSystemFile::Forget() { m_->actualRow = m_->lastCaseRow = Data::kNowhere; }

long CompressedSystemFile::FilePosition() {
  if (m_->requestedRow != m_->actualRow) m_->MoveToRequestedRow();
  return m_->Tell();
}

void CompressedSystemFile::Data::MoveToRequestedRow() {
  // One row back.
  if (actualRow - 1 == requestedRow && lastCaseRow == requestedRow) {
    actualRow = kNowhere;
    Seek(lastCasePosition);
    actualRow = requestedRow;
    return;
  }
  Walk(requestedRow);
  requestedRow = actualRow = reachedRow;
}

void CompressedSystemFile::Data::Walk(long long row) {
  actualRow = kNowhere;
  long position = 0;
  index.GetPos(row, reachedRow, position);
  Seek(position);
  while (reachedRow < row && !reader.AtEnd()) {
    const long caseStart = Tell();
    if (reader.SkipCase() == 0) break;
    index.Add(reachedRow, caseStart);
    lastCaseRow = reachedRow++;
    lastCasePosition = caseStart;
  }
}

long long CompressedSystemFile::CountCases(long long most) {
  try {
    m_->Walk(most);
  } catch (const SystemFileException&) {
    // Deliberate: the cases end here, whatever the reason is.
  }
  return m_->reachedRow;
}

int CompressedSystemFile::Read(OBS* cells, const bool* numericMap) {
  Data& d = *m_;
  const long position = d.requestedRow == d.actualRow ? d.Tell() : FilePosition();
  if (d.reader.AtEnd()) return 0;
  const long long row = d.requestedRow;
  d.index.Add(row, position);
  d.lastCaseRow = row;
  d.lastCasePosition = position;
  d.actualRow = Data::kNowhere;
  const int count = d.reader.Read(cells, numericMap);
  d.actualRow = d.requestedRow = row + 1;
  return count;
}

// Reads up to `most` cases: those that find(first, most) finds ahead, together, by take(first, cases), and any other by
// readOne(first). `first` is the number of cases read before.
template <class Find, class Take, class ReadOne>
void CompressedSystemFile::Data::ReadMany(int most, int& count, Find find, Take take, ReadOne readOne) {
  for (count = 0; count < most;) {
    if (requestedRow != actualRow) MoveToRequestedRow();
    long position = Tell();
    if (reader.AtEnd()) return;
    const long long row = requestedRow;
    actualRow = kNowhere;
    const int whole = std::min(find(count, most - count), most - count);
    const int cases = std::max(whole, 1);
    index.Add(row, position);
    for (int i = 1; i < whole; ++i) {
      position = reader.GroupStart(i) - _row0pos + reader.CodeIndex(i);
      index.Add(row + i, position);
    }
    lastCaseRow = row + cases - 1;
    lastCasePosition = position;
    bool isRead = true;
    if (whole != 0)
      take(count, whole);
    else
      isRead = readOne(count);
    actualRow = requestedRow = row + cases;
    if (!isRead) return;
    count += cases;
  }
}

void CompressedSystemFile::ReadCases(OBS* cells, int most, int& count) {
  GroupReader& reader = m_->reader;
  const auto size = static_cast<std::size_t>(m_->_options.layout.NominalCaseSize());
  const auto placeOf = [&](int first) { return cells + static_cast<std::size_t>(first) * size; };
  m_->ReadMany(
      most, count, [&](int first, int left) { return reader.DecodeCases(placeOf(first), left); },
      [&](int first, int cases) { reader.UseCases(placeOf(first), cases); },
      [&](int first) { return reader.Read(placeOf(first), nullptr) != 0; });
}

void CompressedSystemFile::ReadChosen(std::span<const std::size_t> chosen, OBS* const* columns, int most, int& count) {
  GroupReader& reader = m_->reader;
  m_->ReadMany(
      most, count, [&](int, int) { return reader.FindCases(); },
      [&](int first, int cases) { reader.TakeChosen(chosen, columns, first, cases); },
      [&](int first) { return reader.ReadChosen(chosen, columns, first) != 0; });
}

bool CompressedSystemFile::SkipTo(long target) {
  Data& d = *m_;
  if (d.requestedRow != d.actualRow) FilePosition();
  d.actualRow = Data::kNowhere;
  d.reader.SkipTo(target + d._row0pos, d.requestedRow);
  d.actualRow = d.requestedRow;
  return !d.reader.AtEnd();
}

void CompressedSystemFile::Data::BeginWriting() { writer.emplace(_file, _options.layout.NominalCaseSize()); }

void CompressedSystemFile::Write(const OBS* cells) {
  Data& d = *m_;
  if (d.actualRow == Data::kNowhere) ThrowSystemFileException(kRowNotWritten, "actualRow != kNowhere", true);
  if (!d.writer) d.BeginWriting();
  const long long row = d.actualRow;
  d.index.Add(row, d.writer->GroupStart() - d._row0pos + d.writer->CodeIndex());
  d.dirty = true;
  d.actualRow = Data::kNowhere;
  d.writer->Write(cells);
  d.actualRow = d.requestedRow = row + 1;
}

void CompressedSystemFile::Flush() {
  if (!m_->dirty) return;
  // After a case that could not be written, later groups would be at a wrong place.
  if (m_->actualRow != Data::kNowhere) m_->writer->Flush();
  m_->_file.Flush();
  m_->dirty = false;
}

long CompressedSystemFile::BeginAppend(long long row, bool reopen) {
  Data& d = *m_;
  Seek(row < 0 ? std::numeric_limits<long long>::max() : row);
  const long position = FilePosition();
  const long group = position + d._row0pos - position % kCodesPerGroup;
  d.found = d.reader.UsedPart();
  if (reopen && !d._file.Reopen(d._options._password, "r+b"))
    ThrowSystemFileException(kCannotOpen, "m_->_file.Open(m_->_file.GetNameStr(), m_->_options._password, \"r+b\")",
                             true);
  if (d._file.Seek(group, kSeekFromStart) != 0)
    ThrowSystemFileException(kRowNotWritten, "m_->_file.Seek(group, kSeekFromStart) == 0", true);
  d.writer.emplace(d._file, d._options.layout.NominalCaseSize(), d.found);
  return position;
}

const BegunGroup& CompressedSystemFile::FoundByAppend() const { return m_->found; }
