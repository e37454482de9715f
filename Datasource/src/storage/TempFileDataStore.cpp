#include "datasrc/TempFileDataStore.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>

#include "Platform/Assert.h"
#include "Platform/messages/ThrowError.h"
#include "storage/CompressedStream.h"
#include "storage/TempFileDataStoreData.h"

namespace {

constexpr int kNotWritten = 1002;
constexpr int kNotReadBack = 1003;

// The file position is unknown. This row is after every other, so that the next seek goes through the index.
constexpr long long kLost = std::numeric_limits<long long>::max();

// A stream without an errno still came up short: EIO.
[[noreturn]] void ThrowFault(int number, const QUAV_TempFile& file, int error) {
  ThrowError::String2(kDatasrcCatalog, number, file.Name(), std::strerror(error != 0 ? error : EIO));
}

}  // namespace

// ---- The store ----

TempFileDataStore::TempFileDataStore(const QUAV_DataSource* parent)
    : IndependentDataStore(parent), m_data(std::make_unique<Data>()) {}

TempFileDataStore::~TempFileDataStore() = default;

long long TempFileDataStore::RowCount() const { return m_data->rows; }

bool TempFileDataStore::IsLoaded() const { return m_data->closed; }

// A row that fails leaves its position to the next row.
void TempFileDataStore::AddRow(const OBS* cells) {
  const long position = m_data->file.Tell();
  m_data->index.Add(m_data->rows, position);
  if (m_data->cellsPerCase == -1) m_data->cellsPerCase = static_cast<int>(GetObsAreaSize());
  try {
    WriteCompressed(m_data->file, cells, m_data->cellsPerCase);
  } catch (const CompressedStreamError& fault) {
    m_data->file.Seek(position, kSeekFromStart);
    ThrowFault(kNotWritten, m_data->file, fault.Error());
  }
  ++m_data->rows;
}

// The files stay open for the copies that iterators make. Closing the store brings all its bytes into the files;
// bytes whose write failed before are written once more. The result of a flush differs between the kinds of files.
// The result of Good does not.
void TempFileDataStore::Close() {
  m_data->file.Clear();
  errno = 0;
  m_data->file.Flush();
  if (!m_data->file.Good()) ThrowFault(kNotWritten, m_data->file, errno);
  m_data->closed = true;
  SetTimestamp();
}

// A walk over a parent fills the store, and the first iterator without a parent closes it. So this function is const
// only for its callers.
QUAV_InputCaseIterator* TempFileDataStore::MakeIterator(OBS* cells) const {
  auto& self = const_cast<TempFileDataStore&>(*this);
  if (m_data->lost) std::rethrow_exception(m_data->lost);
  if (GetParentSource() != nullptr) return self.MakeIterator(0, cells);
  if (!m_data->closed) self.Close();
  return new Iterator(*this, *m_data, cells);
}

ProcedureDataStorage* TempFileDataStore::MakeIterator(unsigned int newColumns, OBS* cells) {
  return new ProcedureIterator(newColumns, *this, GetParentSource(), cells);
}

// ---- Walking the stored cases ----

TempFileDataStore::Iterator::Iterator(const TempFileDataStore& store, Data& data, OBS* cells)
    : QUAV_InputCaseIterator(store, cells), m_data(data), m_file(data.file), m_cells(GetObsPointer(0)) {
  QUAV_ASSERT(data.cellsPerCase <= static_cast<int>(store.GetObsAreaSize()), "cellsPerCase <= GetObsAreaSize()");
  m_file.Seek(0, kSeekFromStart);
}

int TempFileDataStore::Iterator::IsSeekOK() { return 1; }

int TempFileDataStore::Iterator::Seek(long long row) {
  if (row < 0 || row >= m_data.rows) return 0;
  m_requestedRow = row;
  return 1;
}

long long TempFileDataStore::Iterator::Tell() const { return m_requestedRow; }

int TempFileDataStore::Iterator::Next() {
  if (m_requestedRow >= m_data.rows) return 0;
  if (m_actualRow != m_requestedRow) DoSeek();
  return ReadCase() ? 1 : 0;
}

// Runs a step that uses the file, and throws its fault.
template <class Step>
bool TempFileDataStore::Iterator::Guarded(Step step) {
  try {
    return step();
  } catch (const CompressedStreamError& fault) {
    m_actualRow = kLost;
    ThrowFault(kNotReadBack, m_file, fault.Error());
  }
}

bool TempFileDataStore::Iterator::ReadCase() {
  const long position = m_file.Tell();
  if (!Guarded([this] { return DecodeCompressed(m_file, m_cells, m_data.cellsPerCase); })) return false;
  m_lastCase = position;
  m_requestedRow = ++m_actualRow;
  return true;
}

// Editors step back by one case, whose position is known. Any other seek starts at the nearest position in the index,
// unless the file position is nearer.
void TempFileDataStore::Iterator::DoSeek() {
  if (m_requestedRow + 1 == m_actualRow) {
    m_file.Seek(m_lastCase, kSeekFromStart);
    m_actualRow = m_requestedRow;
    return;
  }
  long long row = 0;
  long position = 0;
  m_data.index.GetPos(m_requestedRow, row, position);
  if (m_requestedRow < m_actualRow || m_actualRow + 1 < row) {
    const bool more = m_file.Seek(position, kSeekFromStart) == 0;
    QUAV_ASSERT(more, "more");
    m_actualRow = row;
  }
  if (m_requestedRow > m_actualRow) {
    const long cells = (m_requestedRow - m_actualRow) * m_data.cellsPerCase;
    const bool more = Guarded([&] { return SkipCompressed(m_file, cells); });
    QUAV_ASSERT(more, "more");
    m_actualRow = m_requestedRow;
  }
}

// ---- Storing the cases of a procedure ----

TempFileDataStore::ProcedureIterator::ProcedureIterator(unsigned int newColumns, TempFileDataStore& store,
                                                        const QUAV_DataSource* parent, OBS* cells)
    : ProcedureDataStorage(store, cells), m_impl{store, nullptr, nullptr, nullptr, 0, 0, true, {}} {
  const auto columns = static_cast<int>(store.ColumnCount());
  QUAV_ASSERT(newColumns <= store.ColumnCount(), "newColumns <= ColumnCount()");
  m_impl.cells = GetObsPointer(0);
  m_impl.newCells = GetObsPointer(columns - static_cast<int>(newColumns));
  m_impl.oldCount = static_cast<std::size_t>(m_impl.newCells - m_impl.cells);
  m_impl.newCount = static_cast<std::size_t>(GetObsPointer(columns) - m_impl.newCells);
  const int stored = store.m_data->cellsPerCase;
  QUAV_ASSERT(stored == -1 || stored == static_cast<int>(store.GetObsAreaSize()), "cellsPerCase == GetObsAreaSize()");
  m_impl.buffer.resize(store.GetObsAreaSize());
  store.InitCells(m_impl.buffer.data(), 0, static_cast<unsigned int>(columns));
  if (parent == nullptr) return;
  QUAV_ASSERT(parent->GetObsAreaSize() <= store.GetObsAreaSize(), "parent->GetObsAreaSize() <= GetObsAreaSize()");
  m_impl.parent.reset(parent->MakeIterator(m_impl.cells));
  SetParent(m_impl.parent.get());
}

TempFileDataStore::ProcedureIterator::~ProcedureIterator() {
  try {
    if (!m_impl.written) WriteCase();
    m_impl.store.Close();
  } catch (...) {
    m_impl.store.m_data->lost = std::current_exception();  // the store's next MakeIterator throws it
  }
  m_impl.store.SetParentSource(nullptr);
}

int TempFileDataStore::ProcedureIterator::IsSeekOK() { return 0; }

int TempFileDataStore::ProcedureIterator::Seek(long long) { return 0; }

long long TempFileDataStore::ProcedureIterator::Tell() const { return m_impl.store.RowCount(); }

int TempFileDataStore::ProcedureIterator::Next() {
  if (!m_impl.written) WriteCase();
  if (!m_impl.parent || m_impl.parent->Next() == 0) return 0;
  CopyOldPart();
  m_impl.written = false;
  return 1;
}

void TempFileDataStore::ProcedureIterator::UpdateCase() {
  CopyNewPart();
  WriteCase();
}

void TempFileDataStore::ProcedureIterator::InsertCase() {
  CopyOldPart();
  CopyNewPart();
  WriteCase();
}

void TempFileDataStore::ProcedureIterator::CopyOldPart() {
  std::copy_n(m_impl.cells, m_impl.oldCount, m_impl.buffer.begin());
}

// Contract: the new columns follow the old part, so that the stored case has them where the dictionary has them.
void TempFileDataStore::ProcedureIterator::CopyNewPart() {
  std::copy_n(m_impl.newCells, m_impl.newCount, m_impl.buffer.begin() + static_cast<std::ptrdiff_t>(m_impl.oldCount));
}

void TempFileDataStore::ProcedureIterator::WriteCase() {
  m_impl.store.AddRow(m_impl.buffer.data());
  m_impl.written = true;
}
