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
  } catch (const SystemFileException&) {
    // A destructor must not throw; the stream remembers that it failed.
  }
}

void CompressedSystemFile::Seek(long long row) { m_->requestedRow = row; }

long long CompressedSystemFile::Tell() const { return m_->requestedRow; }

void CompressedSystemFile::Forget() { m_->actualRow = m_->lastCaseRow = Data::kNowhere; }

long CompressedSystemFile::FilePosition() {
  Data& d = *m_;
  if (d.requestedRow == d.actualRow) return d.Tell();
  // One row back.
  if (d.actualRow - 1 == d.requestedRow && d.lastCaseRow == d.requestedRow) {
    d.actualRow = Data::kNowhere;
    d.Seek(d.lastCasePosition);
    d.actualRow = d.requestedRow;
    return d.Tell();
  }
  d.Walk(d.requestedRow);
  d.requestedRow = d.actualRow = d.reachedRow;
  return d.Tell();
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

void CompressedSystemFile::ReadChosen(std::span<const std::size_t> chosen, OBS* const* columns, int most, int& count) {
  Data& d = *m_;
  for (count = 0; count < most;) {
    long position = d.requestedRow == d.actualRow ? d.Tell() : FilePosition();
    if (d.reader.AtEnd()) return;
    const long long row = d.requestedRow;
    d.actualRow = Data::kNowhere;
    const int whole = std::min(d.reader.FindCases(), most - count);
    const int cases = std::max(whole, 1);
    d.index.Add(row, position);
    for (int i = 1; i < whole; ++i) {
      position = d.reader.GroupStart(i) - d._row0pos + d.reader.CodeIndex(i);
      d.index.Add(row + i, position);
    }
    d.lastCaseRow = row + cases - 1;
    d.lastCasePosition = position;
    bool isRead = true;
    if (whole != 0)
      d.reader.TakeChosen(chosen, columns, count, whole);
    else
      isRead = d.reader.ReadChosen(chosen, columns, count) != 0;
    d.actualRow = d.requestedRow = row + cases;
    if (!isRead) return;
    count += cases;
  }
}

bool CompressedSystemFile::SkipTo(long target) {
  Data& d = *m_;
  if (d.requestedRow != d.actualRow) FilePosition();
  d.actualRow = Data::kNowhere;
  d.reader.SkipTo(target + d._row0pos, d.requestedRow);
  d.actualRow = d.requestedRow;
  return !d.reader.AtEnd();
}

void CompressedSystemFile::Write(const OBS* cells) {
  Data& d = *m_;
  if (d.actualRow == Data::kNowhere) ThrowSystemFileException(kRowNotWritten, "actualRow != kNowhere", true);
  const long long row = d.actualRow;
  d.index.Add(row, d.Tell());
  d.dirty = true;
  d.actualRow = Data::kNowhere;
  if (!d.writer) d.writer.emplace(d._file, d._options.layout.NominalCaseSize());
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
