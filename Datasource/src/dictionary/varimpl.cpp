#include "dictionary/varimpl.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <mutex>
#include <utility>

#include "Platform/Assert.h"
#include "core/UpperName.h"

namespace {

constexpr std::int16_t kNumericDisplayWidth = 8;

// The next identity that the process issues. Variables may be made on several threads.
std::atomic<unsigned int> theOriginator = 0;
std::atomic<unsigned int> theNextNumber = 0;

bool SameLabel(const QUAV_VarLabel* a, const QUAV_VarLabel* b) { return a == b || (a && b && *a == *b); }

// A continuation, which no dictionary holds, has the type -1.
int CheckedType(int type) {
  QUAV_ASSERT(-1 <= type && type <= MAX_STRING_TYPE, "-1 <= type && type <= MAX_STRING_TYPE");
  return type;
}

}  // namespace

QUAV_VariableImpl::QUAV_VariableImpl(int type)
    : fPrintFormat(QUAV_DefaultFormat(type)),
      fWriteFormat(fPrintFormat),
      fType(static_cast<std::int16_t>(CheckedType(type))),
      fDisplayWidth(type == 0 ? kNumericDisplayWidth : static_cast<std::int16_t>(type)),
      fMeasurementLevel(type == 0 ? QUAV_Variable::kLevelDefaultNumeric : QUAV_Variable::kLevelDefaultString),
      fAlignment(type == 0 ? QUAV_Variable::kAlignRight : QUAV_Variable::kAlignLeft) {
  NewID();
}

QUAV_VariableImpl::~QUAV_VariableImpl() = default;

void QUAV_VariableImpl::SetOriginator(int originator) {
  theOriginator = static_cast<unsigned int>(originator);
  QUAV_VLMapRegistry::SetOriginator(static_cast<unsigned int>(originator));
}

const QUAV_VarLabel* QUAV_VariableImpl::InsertLabel(const char* text, unsigned int length) {
  static std::mutex mutex;
  static std::deque<QUAV_VarLabel> pool;  // guarded by the mutex; a deque never moves its elements
  const std::scoped_lock lock(mutex);
  return &pool.emplace_back(text, length);
}

QUAV_VariableImpl& QUAV_VariableImpl::Modified() {
  fModified = 1;
  return *this;
}

void QUAV_VariableImpl::NewID() { fID = {theOriginator, theNextNumber++}; }

void QUAV_VariableImpl::SetName(const char* text, unsigned int length) {
  while (length > 0 && text[length - 1] == ' ') --length;
  std::string name(text, length);
  fUpperName = UpperName(name);
  fName = std::move(name);
  Modified();
}

void QUAV_VariableImpl::SetType(int type) {
  QUAV_ASSERT(0 <= type && type <= MAX_STRING_TYPE, "0 <= type && type <= MAX_STRING_TYPE");
  if (type != fType) {
    fPrintFormat = FormatForNewType(fPrintFormat, type);
    fWriteFormat = FormatForNewType(fWriteFormat, type);
    fType = static_cast<std::int16_t>(type);
  }
  Modified();
}

void QUAV_VariableImpl::SetMissingValues(int code, const OBS* v1, const OBS* v2, const OBS* v3) {
  const long count = std::labs(code);
  OBS values[3]{};  // the given cells may be those of this body
  if (count >= 1) {
    QUAV_ASSERT(v1, "v1");
    values[0] = *v1;
  }
  if (count >= 2) {
    QUAV_ASSERT(v2, "v2");
    values[1] = *v2;
  }
  if (count == 3) {
    QUAV_ASSERT(v3, "v3");
    values[2] = *v3;
  }
  // A code that the field cannot hold has no meaning either.
  fNMissing = static_cast<std::int8_t>(std::clamp<int>(code, INT8_MIN, INT8_MAX));
  std::ranges::copy(values, fMissing);
  Modified();
}

int QUAV_VariableImpl::IsMissing(const OBS* value) const {
  if (fType == 0 && *value == kSystemMissingCell) return 1;
  // Compares bits: 0.0 and -0.0 differ here.
  if (1 <= fNMissing && fNMissing <= 3)
    return std::find(fMissing, fMissing + fNMissing, *value) != fMissing + fNMissing;
  const bool hasRange = fNMissing == -2 || fNMissing == -3;
  if (fType != 0 || !hasRange) return 0;
  if (fNMissing == -3 && *value == fMissing[2]) return 1;
  const double number = CellNumber(*value);
  return CellNumber(fMissing[0]) <= number && number <= CellNumber(fMissing[1]);
}

int QUAV_VariableImpl::IsMissing(const char* text) const {
  const std::size_t length = std::strlen(text);
  if (fType == 0 || fNMissing == 0 || length > sizeof(OBS) || static_cast<int>(length) > fType) return 0;
  OBS cell = kBlankCell;
  std::copy_n(text, length, CellText(&cell));
  return IsMissing(&cell);
}

bool QUAV_VariableImpl::operator==(const QUAV_VariableImpl& other) const {
  if (this == &other) return true;
  const int nCells = std::min(std::abs(fNMissing), 3);
  return fName == other.fName && fType == other.fType && SameLabel(fLabel, other.fLabel) &&
         fNMissing == other.fNMissing && fPrintFormat == other.fPrintFormat && fWriteFormat == other.fWriteFormat &&
         fDisplayWidth == other.fDisplayWidth && fMeasurementLevel == other.fMeasurementLevel &&
         fAlignment == other.fAlignment && fRole == other.fRole &&
         std::equal(fMissing, fMissing + nCells, other.fMissing) &&
         QUAV_ValueLabelMap(fValueLabels) == QUAV_ValueLabelMap(other.fValueLabels) && fAttributes == other.fAttributes;
}
