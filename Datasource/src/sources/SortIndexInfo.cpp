#include "datasrc/SortIndexInfo.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <numeric>
#include <stdexcept>
#include <string_view>

#include "Platform/Assert.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/Obs.h"
#include "datasrc/QUAV_DataSource.h"
#include "datasrc/QUAV_InputCaseIterator.h"

char groupDelimiterChar = 0x1D;
char unitDelimiterChar = 0x1F;

namespace {

constexpr std::size_t kNumberPiece = 41;
constexpr std::size_t kPieceWithoutKeys = 75;  // compared when there are no sort keys

// The collation of the process, never destroyed.
QUAVMBCollator& Collator() {
  static QUAVMBCollator& sCollator = *[] {
    auto made = std::make_unique<QUAVMBCollator>();
    made->Init();
    return made.release();
  }();
  return sCollator;
}

std::size_t PieceSize(const FileSort::SortKey& key) {
  return key.stringLength != 0 ? static_cast<std::size_t>(key.stringLength) : kNumberPiece;
}

std::string NumberPiece(double number) {
  std::array<char, 512> text;  // the longest double has over 320 characters
  std::snprintf(text.data(), text.size(), "%041.16f", number);
  return std::string(text.data()).substr(0, kNumberPiece);
}

// Keys may come from a file, so they may lie outside its cases.
bool IsInside(const FileSort::SortKey& key, std::size_t cells) {
  if (key.cellIndex < 0 || key.stringLength < 0) return false;
  const std::size_t bytes = key.stringLength != 0 ? static_cast<std::size_t>(key.stringLength) : sizeof(OBS);
  return static_cast<std::size_t>(key.cellIndex) * sizeof(OBS) + bytes <= cells * sizeof(OBS);
}

int ComparePieces(const std::string& a, const std::string& b, std::size_t offset, std::size_t size,
                  const QUAVMBCollator& collator) {
  const std::string left = a.substr(offset, size);
  const std::string right = b.substr(offset, size);
  return collator.Compare(left.data(), static_cast<int>(left.size()), right.data(), static_cast<int>(right.size()));
}

}  // namespace

SortIndexInfo::SortIndexInfo() { Collator().Init(); }

SortIndexInfo::SortIndexInfo(const SortIndexInfo& other)
    : m_requestedIndexSize(other.m_requestedIndexSize),
      m_keys(other.m_keys),
      m_index(other.m_index),
      m_dataSource(other.m_dataSource) {
  Collator().Init();
}

SortIndexInfo& SortIndexInfo::operator=(const SortIndexInfo& other) { return *this = SortIndexInfo(other); }

std::string SortIndexInfo::BuildKeyValues(QUAV_InputCaseIterator* iterator) const {
  const OBS* const cells = iterator->GetObsPointer(0);
  const std::size_t count = iterator->GetDataSource()->GetObsAreaSize();
  std::string value;
  for (const FileSort::SortKey& key : m_keys) {
    if (!IsInside(key, count)) throw std::out_of_range("a sort key lies outside the case");
    const OBS* const cell = cells + key.cellIndex;
    if (key.stringLength != 0)
      value.append(CellText(cell), static_cast<std::size_t>(key.stringLength));
    else
      value += NumberPiece(CellNumber(*cell));
  }
  return value;
}

std::string SortIndexInfo::BuildKeyValuesFromCase(QUAV_InputCaseIterator* iterator) const {
  return BuildKeyValues(iterator);
}

std::string SortIndexInfo::LRTrim(const std::string& text) {
  const std::size_t first = text.find_first_not_of(' ');
  return first == text.npos ? std::string() : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

int SortIndexInfo::Compare(const std::string& a, const std::string& b, const QUAVMBCollator& collator) const {
  if (m_keys.empty()) return ComparePieces(a, b, 0, kPieceWithoutKeys, collator);
  std::size_t offset = 0;
  for (const FileSort::SortKey& key : m_keys) {
    const std::size_t size = PieceSize(key);
    if (const int order = ComparePieces(a, b, offset, size, collator); order != 0) return order;
    offset += size;
  }
  return 0;
}

SortIndexInfo::RowIndex SortIndexInfo::FindRecordFromKeyValues(std::string& key, bool& /*flag*/,
                                                               QUAV_InputCaseIterator* iterator) const {
  if (m_index.empty()) return -1;
  const std::size_t last = m_index.size() - 1;
  std::size_t low = 0;
  std::size_t high = last;
  std::size_t mid = 0;
  for (;;) {
    mid = low + (high - low) / 2;
    const int order = Compare(key, m_index[mid].GetKeyValue(), Collator());
    if (order == 0) return m_index[mid].GetRowIndex();
    if (order < 0) {
      if (low == mid) break;
      high = mid;
    } else if (low != mid) {
      low = mid;
    } else if (low + 1 == last) {
      low = last;
    } else {
      break;
    }
  }
  if (last == 0) return -1;  // one pair describes no range of rows

  QUAV_ASSERT(m_dataSource != nullptr, "fDataSource != __null");
  std::unique_ptr<QUAV_InputCaseIterator> own;
  if (iterator == nullptr) {
    own.reset(m_dataSource->MakeIterator(nullptr));
    iterator = own.get();
  }
  const auto row = [this](std::size_t pair) { return m_index.at(pair).GetRowIndex(); };
  RowIndex firstRow = 0;
  RowIndex lastRow = row(1);
  if (mid != 0) {
    firstRow = low == high ? row(low - 1) : row(low);
    lastRow = low == high ? m_dataSource->RowCount() : row(low + 1);
  }
  iterator->Seek(std::max(firstRow, RowIndex{0}));
  return BinaryKeyValueSearch(iterator, firstRow, lastRow, key, Collator());
}

SortIndexInfo::RowIndex SortIndexInfo::FindRecordFromKeyValues(std::string& key) const {
  bool flag = false;
  return FindRecordFromKeyValues(key, flag, nullptr);
}

SortIndexInfo::RowIndex SortIndexInfo::BinaryKeyValueSearch(QUAV_InputCaseIterator* iterator, long long low,
                                                            long long high, std::string& key,
                                                            const QUAVMBCollator& collator) const {
  low = std::max(low, 0LL);  // a file may contain any number
  while (low <= high) {
    const long long mid = std::midpoint(low, high);
    iterator->Seek(mid);
    // Deliberate: `mid` counts rows from 1, and row 0 does not exist.
    if (mid != 0) {
      iterator->Seek(mid - 1);
      iterator->Next();
    }
    const int order = Compare(BuildKeyValues(iterator), key, collator);
    if (order == 0) return mid;
    if (order < 0) {
      if (mid == high) return -1;
      low = mid + 1;
    } else {
      if (mid == 0) return -1;
      high = mid - 1;
    }
  }
  return -1;
}
