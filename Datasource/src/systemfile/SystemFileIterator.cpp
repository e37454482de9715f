#include "systemfile/SystemFileIterator.h"

#include <algorithm>
#include <array>
#include <utility>

#include "Platform/messages/ThrowError.h"
#include "Platform/stream/StreamBeneath.h"
#include "casecodes/FoundGroups.h"
#include "core/ByteOrder.h"
#include "datasrc/Settings.h"
#include "systemfile/SystemFileException.h"

// Runs before the base is made, which notifies the observers of the iterator.
const SystemFileDataSource& SystemFileDataSource::Iterator::WithKnownCompression(const SystemFileDataSource& source,
                                                                                 const Data& data) {
  const int compression = data.m_options.compression;
  const bool isKnown = compression == kCompressionNone || compression == kCompressionByteCodes ||
                       (compression == kCompressionZlib && data.zStream);
  if (!isKnown) ThrowError::String1(kDatasrcCatalog, kUnknownCompression, source.GetFileSpec());
  return source;
}

SystemFileDataSource::Iterator::Iterator(const SystemFileDataSource& source, Data& data, OBS* cells)
    : QUAV_InputCaseIterator(WithKnownCompression(source, data), cells),
      m_data(data),
      m_layout(data.m_options.layout),
      m_file(data.FileToCopy()),
      m_cells(GetObsPointer(0)) {
  switch (data.m_options.compression) {
    case kCompressionByteCodes:
      m_compressed = std::make_unique<CompressedSystemFile>(data.m_options, m_file, *data.sparseIndex, data.row0);
      break;
    case kCompressionZlib:
      m_file.Close();
      m_zStream = std::make_unique<zcmpsFilestr>(*data.zStream);
      if (!m_zStream->IsWhole() && data.m_options.numberOfCases >= 0) m_endRow = data.m_options.numberOfCases;
      m_zStream->SetReadAhead(getasynchreading_() != 0);
      m_compressed = std::make_unique<CompressedSystemFile>(data.m_options, *m_zStream, *data.sparseIndex, data.row0);
      break;
    default:
      break;
  }
  MakeBuffers(source);
  if (getasynchreading_() != 0) m_file.EnableMultiThreadReading();
  ++data.iterators;
}

SystemFileDataSource::Iterator::Iterator(const Iterator& whole, std::unique_ptr<StretchStream> stretches)
    : QUAV_InputCaseIterator(*whole.GetDataSource(), nullptr),
      m_data(whole.m_data),
      m_layout(whole.m_layout),
      m_endRow(whole.m_endRow),
      m_stretches(std::move(stretches)),
      m_compressed(std::make_unique<CompressedSystemFile>(m_data.m_options, *m_stretches, m_ownIndex, m_data.row0)),
      m_cells(GetObsPointer(0)) {
  MakeBuffers(*GetDataSource());
  ++m_data.iterators;
}

SystemFileDataSource::Iterator::~Iterator() {
  --m_data.iterators;
  if (getasynchreading_() != 0) m_file.DisableMultiThreadReading();
}

// The caller's case has the cells of the dictionary. If that has lost columns since the file was opened, the caller gets
// only the first cells of each case.
void SystemFileDataSource::Iterator::MakeBuffers(const QUAV_DataSource& source) {
  const auto make = [](std::int32_t cells) { return std::make_unique<OBS[]>(static_cast<std::size_t>(cells)); };
  m_callersCells = source.GetObsAreaSize();
  const bool isNarrow = static_cast<std::int64_t>(m_callersCells) < m_layout.LogicalCaseSize();
  if (m_layout.Dechunker().Active()) m_rawCase = make(m_layout.NominalCaseSize());
  if (isNarrow) m_logicalCase = make(m_layout.LogicalCaseSize());
}

int SystemFileDataSource::Iterator::IsSeekOK() { return 1; }

int SystemFileDataSource::Iterator::Seek(long long row) {
  m_requestedRow = row;
  return 1;
}

long long SystemFileDataSource::Iterator::Tell() const { return m_requestedRow; }

// ---- Reading a case, inner steps first, so that all can be inlined into one function ----

// Takes a case from the window. Returns whether the window had a whole one.
inline bool SystemFileDataSource::Iterator::TakeHeldCase(OBS* target) {
  const std::size_t size = CaseSize();
  if (m_held.Size() < size) return false;
  std::copy_n(m_held.begin, size, AsBytes(target));
  m_held.begin += size;
  m_taken += size;
  return true;
}

// Reads a case in the file's form. Returns its size in bytes; 0 at the end of the data.
inline std::size_t SystemFileDataSource::Iterator::ReadCells(OBS* target) {
  const bool* numericMap = m_layout.NumericCellMap();
  if (m_compressed) return static_cast<std::size_t>(m_compressed->Read(target, numericMap)) * sizeof(OBS);

  const std::size_t readLen = TakeHeldCase(target) ? CaseSize() : ReadPlainCase(target);
  if (numericMap != nullptr && readLen != 0)
    for (std::int32_t cell = 0; cell < m_layout.NominalCaseSize(); ++cell)
      if (numericMap[cell]) target[cell] = Turned(target[cell]);
  return readLen;
}

// Reads a case, with LogicalCaseSize() cells.
inline bool SystemFileDataSource::Iterator::ReadCase(OBS* logical) {
  // Such a case does not exist; this says nothing about the number of cases.
  if (m_requestedRow < 0 || m_requestedRow >= m_endRow) return false;
  if (m_requestedRow != m_actualRow) MoveToRequestedRow();
  OBS* const raw = m_rawCase.get();
  if (ReadCells(raw != nullptr ? raw : logical) == 0) {
    NoteEnd();
    // Contract: a file without variables has cases without cells, and never ends.
    return CaseSize() == 0;
  }
  if (raw != nullptr) m_layout.Dechunker().Dechunk(raw, logical);
  ++m_requestedRow;
  ++m_actualRow;
  return true;
}

int SystemFileDataSource::Iterator::Next() {
  try {
    if (!m_logicalCase) return ReadCase(m_cells);
    if (!ReadCase(m_logicalCase.get())) return 0;
    std::copy_n(m_logicalCase.get(), m_callersCells, m_cells);
    return 1;
  } catch (const SystemFileException& fault) {
    m_actualRow = kNowhere;
    ReportSystemFileException(fault, GetDataSource()->GetFileSpec());
  }
}

// ---- Reading many cases ----

// Reads the next cases by readSome(most), which sets `count` to their number, also when it throws.
template <class ReadSome>
void SystemFileDataSource::Iterator::ReadMany(int most, int& count, ReadSome readSome) {
  count = 0;
  try {
    if (m_requestedRow < 0 || m_requestedRow >= m_endRow || most <= 0) return;
    const int wanted = static_cast<int>(std::min<long long>(most, m_endRow - m_requestedRow));
    if (m_requestedRow != m_actualRow) MoveToRequestedRow();
    readSome(wanted);
    m_requestedRow += count;
    m_actualRow = m_requestedRow;
    if (count < wanted) NoteEnd();
  } catch (const SystemFileException& fault) {
    m_requestedRow += count;
    m_actualRow = kNowhere;
    ReportSystemFileException(fault, GetDataSource()->GetFileSpec());
  }
}

void SystemFileDataSource::Iterator::ReadCases(OBS* cases, int most, int& count) {
  if (CanReadChosen()) {
    ReadMany(most, count, [&](int wanted) { m_compressed->ReadCases(cases, wanted, count); });
    return;
  }
  if (AreCasesPlain()) {
    ReadMany(most, count, [&](int wanted) { ReadPlainCases(cases, wanted, count); });
    return;
  }
  const auto size = static_cast<std::size_t>(CellsOfCase());
  try {
    for (count = 0; count < most && size != 0 && ReadCase(cases); ++count) cases += size;
  } catch (const SystemFileException& fault) {
    m_actualRow = kNowhere;
    ReportSystemFileException(fault, GetDataSource()->GetFileSpec());
  }
}

void SystemFileDataSource::Iterator::ReadChosen(std::span<const std::size_t> chosen, OBS* const* columns, int most,
                                                int& count) {
  ReadMany(most, count, [&](int wanted) { m_compressed->ReadChosen(chosen, columns, wanted, count); });
}

// Takes cases from the window, as many as are whole in it. Returns their number.
int SystemFileDataSource::Iterator::TakeHeldCases(OBS* cases, int most) {
  const int count = static_cast<int>(std::min(m_held.Size() / CaseSize(), static_cast<std::size_t>(most)));
  const std::size_t bytes = static_cast<std::size_t>(count) * CaseSize();
  std::copy_n(m_held.begin, bytes, AsBytes(cases));
  m_held.begin += bytes;
  m_taken += bytes;
  return count;
}

void SystemFileDataSource::Iterator::ReadPlainCases(OBS* cases, int most, int& count) {
  const auto size = static_cast<std::size_t>(CellsOfCase());
  while (count < most) {
    const int held = TakeHeldCases(cases, most - count);
    if (held == 0 && ReadPlainCase(cases) == 0) return;
    const int taken = std::max(held, 1);
    cases += static_cast<std::size_t>(taken) * size;
    count += taken;
  }
}

void SystemFileDataSource::Iterator::MoveToRequestedRow() {
  CaseStream().Clear();
  m_held = {};
  m_taken = 0;
  if (m_compressed) {
    m_compressed->Seek(m_requestedRow);
  } else {
    long position = 0;
    const bool none = __builtin_mul_overflow(static_cast<long>(CaseSize()), m_requestedRow, &position) ||
                      __builtin_add_overflow(m_data.row0, position, &position);
    // A row beyond all positions is past the end.
    if (m_file.Seek(none ? 0 : position, none ? kSeekFromEnd : kSeekFromStart) != 0)
      ThrowSystemFileException(kUnexpectedEnd, "m_file.Seek(position, kSeekFromStart) == 0", true);
  }
  m_actualRow = m_requestedRow;
}

// ---- Cases for several threads ----

void SystemFileDataSource::Iterator::SetReadAhead(int threads) {
  if (m_zStream) m_zStream->SetReadAheadThreads(threads);
}

// Returns the place of the row, if there is one in case codes.
std::optional<CasePlace> SystemFileDataSource::Iterator::PlaceOf(long long row) {
  if (!m_compressed || CaseSize() == 0 || row >= m_endRow) return std::nullopt;
  m_actualRow = kNowhere;
  try {
    m_compressed->Seek(row);
    const CasePlace place = {row, m_compressed->FilePosition()};
    if (m_compressed->Tell() == row) return place;
  } catch (const SystemFileException&) {
    // Deliberate: the fault is reported when the row is read.
  }
  return std::nullopt;
}

std::unique_ptr<CaseStretches> SystemFileDataSource::Iterator::Divide(long long row, int threads) {
  SetReadAhead(threads);
  const std::optional<CasePlace> place = PlaceOf(row);
  if (!place) return nullptr;
  const long group = place->position - place->position % kCodesPerGroup;
  if (CaseStream().Seek(m_data.row0 + group, kSeekFromStart) != 0) return nullptr;
  // The file stays open as long as m_file is.
  const QUAV_File* const file = m_zStream ? nullptr : StreamBeneath(m_file).GetFile().get();
  return std::make_unique<CaseStretches>(CaseStream(), file, m_data.row0, m_layout.NominalCaseSize(), *place);
}

std::optional<ChunkedCases> SystemFileDataSource::Iterator::InChunks(long long row) {
  if (!CanReadChosen() || m_zStream || m_stretches) return std::nullopt;
  const std::optional<CasePlace> place = PlaceOf(row);
  if (!place) return std::nullopt;
  ChunkedCases cases;
  // The file stays open as long as m_file is.
  cases.file = StreamBeneath(m_file).GetFile().get();
  cases.row0 = m_data.row0;
  cases.length = m_file.Length();
  if (cases.file == nullptr || cases.length < 0) return std::nullopt;
  cases.cellsPerCase = m_layout.NominalCaseSize();
  cases.firstRow = row;
  const int code = static_cast<int>(place->position % kCodesPerGroup);
  std::array<std::byte, kCodesPerGroup> codes{};
  cases.start = {m_data.row0 + place->position - code, 0, *place};
  if (code != 0 && cases.file->ReadAt(codes.data(), codes.size(), cases.start.group).bytes != codes.size())
    return std::nullopt;
  cases.start.cell = -CountCells(codes.data(), code);
  return cases;
}

std::unique_ptr<SystemFileDataSource::Iterator> SystemFileDataSource::Iterator::ForStretches() const {
  return std::unique_ptr<Iterator>(new Iterator(*this, std::make_unique<StretchStream>(nullptr)));
}

void SystemFileDataSource::Iterator::Enter(CaseStretch& stretch, long length) {
  m_stretches->Enter(stretch, length);
  // The row may be the next one, but its bytes are in other memory.
  m_compressed->Forget();
  m_ownIndex.Know(stretch.Place().row, stretch.Place().position);
  m_requestedRow = stretch.Place().row;
  m_actualRow = kNowhere;
}

// ---- Places of cases ----

CasePlaces SystemFileDataSource::Iterator::FindPlaces(long stretches) {
  CasePlaces places;
  places.some = {{}};
  // Cases without cells never end, and are none.
  if (CaseSize() == 0) return places;
  places.length = std::max(CaseStream().Length() - m_data.row0, 0L);
  if (m_compressed) {
    WalkOver(std::max(places.length / stretches, 1L), places);
    return places;
  }
  const auto caseSize = static_cast<long>(CaseSize());
  places.rows = places.length / caseSize;
  const long count = std::min<long>(stretches, places.rows);
  for (long k = 1; k < count; ++k) {
    const long long row = places.rows / count * k + places.rows % count * k / count;
    places.some.push_back({row, row * caseSize});
  }
  return places;
}

// A stretch that begins with a zlib block inflates none that another one inflates. Places that are a good part of a block
// apart are moved to the next one.
void SystemFileDataSource::Iterator::WalkOver(long step, CasePlaces& places) {
  constexpr long kLongStep = zcmpsFilestr::kBlockSize / 8;
  const auto next = [&](long target) {
    if (!m_zStream || step < kLongStep) return target;
    return m_zStream->NextBlock(target + m_data.row0) - m_data.row0;
  };
  m_actualRow = kNowhere;
  m_compressed->Seek(0);
  try {
    for (long target = next(step); m_compressed->SkipTo(target); target = next(target + step)) {
      const CasePlace place = {m_compressed->Tell(), m_compressed->FilePosition()};
      // Row 0 has its place already, also when groups without cells come before it.
      if (place.row > places.some.back().row) places.some.push_back(place);
      target = std::max(target, place.position);
    }
  } catch (const SystemFileException&) {
    // Deliberate: the fault is reported when the last cases are read.
  }
  places.rows = std::min(m_compressed->Tell(), m_endRow);
  while (places.some.size() > 1 && places.some.back().row >= places.rows) places.some.pop_back();
}

bool SystemFileDataSource::Iterator::TakePlace(const CasePlace& place) {
  const long length = CaseStream().Length() - m_data.row0;
  if (place.row < 0 || place.position < 0 || place.position > length) return false;
  if (!m_compressed) {
    long position = 0;
    return !__builtin_mul_overflow(static_cast<long>(CaseSize()), place.row, &position) && position == place.position;
  }
  if (place.row == 0) return place.position == 0;
  QUAV_SparseFileIndex index = *m_data.sparseIndex;
  index.Know(place.row, place.position);
  return true;
}

// Advances the window; reads a case that is too long for any window.
std::size_t SystemFileDataSource::Iterator::ReadPlainCase(OBS* target) {
  m_file.Skip(m_taken);
  m_taken = 0;
  m_held = {};
  if (CaseSize() <= QUAV_FileStream::kMaxPeek) {
    m_held = m_file.Peek(CaseSize());
    if (TakeHeldCase(target)) return CaseSize();
    m_held = {};
  }
  const std::size_t readLen = m_file.Read(target, CaseSize());
  if (readLen != CaseSize() && (readLen != 0 || !m_file.Good()))
    ThrowSystemFileException(kUnexpectedEnd, "readLen== 0 || readLen == caseLen", !m_file.Good());
  return readLen;
}

void SystemFileDataSource::Iterator::NoteEnd() {
  std::atomic<long long>& count = m_data.m_options.numberOfCases;
  long long known = count;
  // Another iterator may have met the end earlier in the meantime.
  while ((known > m_actualRow || known == -1) && !count.compare_exchange_weak(known, m_actualRow)) {
  }
}
