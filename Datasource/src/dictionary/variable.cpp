#include "datasrc/QUAV_Variable.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

#include "Platform/Assert.h"
#include "core/ReplaceByCopy.h"
#include "dictionary/varimpl.h"

namespace {

constexpr std::int16_t kWidestDefaultDisplay = 50;
constexpr OBS kLowestCell = kSystemMissingCell;  // both are the same number
constexpr OBS kHighestCell{kHighNumberBits};

const OBS* CellOrNull(const std::optional<OBS>& cell) { return cell ? &*cell : nullptr; }

std::optional<OBS> Cell(const double* number) {
  if (!number) return std::nullopt;
  return NumberCell(*number);
}

// Returns the first 8 bytes, filled with blanks.
std::optional<OBS> Cell(const char* text) {
  if (!text) return std::nullopt;
  OBS cell = kBlankCell;
  std::copy_n(text, strnlen(text, sizeof(OBS)), CellText(&cell));
  return cell;
}

template <class T>
int CountGiven(const T* v1, const T* v2, const T* v3) {
  return int{v1 != nullptr} + int{v2 != nullptr} + int{v3 != nullptr};
}

template <class T>
void AssertNoGap(const T* v1, const T* v2, const T* v3) {
  QUAV_ASSERT((v2 != nullptr) >= (v3 != nullptr), "int(v2!=0) >= int(v3!=0)");
  QUAV_ASSERT((v1 != nullptr) >= (v2 != nullptr), "int(v1!=0) >= int(v2!=0)");
}

}  // namespace

QUAV_Variable::QUAV_Variable() = default;
QUAV_Variable::QUAV_Variable(int type) : fpImpl(new QUAV_VariableImpl(type)) {
  fpImpl->fDisplayWidth = std::min(fpImpl->fDisplayWidth, kWidestDefaultDisplay);
}
QUAV_Variable::QUAV_Variable(const QUAV_Variable& other) = default;
QUAV_Variable::QUAV_Variable(QUAV_Variable&& other) noexcept = default;
QUAV_Variable& QUAV_Variable::operator=(const QUAV_Variable& other) = default;
QUAV_Variable::~QUAV_Variable() = default;

const char* QUAV_Variable::GetName() const { return Body().fName.c_str(); }
const char* QUAV_Variable::GetUpperCaseName() const { return Body().fUpperName.c_str(); }
void QUAV_Variable::SetName(const char* text) { SetName(text, static_cast<unsigned int>(std::strlen(text))); }
void QUAV_Variable::SetName(const char* text, unsigned int length) { WritableBody().SetName(text, length); }
LocallyUniqueID QUAV_Variable::GetID() const { return Body().fID; }
void QUAV_Variable::SetID(LocallyUniqueID id) { WritableBody().fID = id; }
void QUAV_Variable::NewID() { WritableBody().NewID(); }

int QUAV_Variable::GetType() const { return Body().fType; }
void QUAV_Variable::SetType(int type) { WritableBody().SetType(type); }
QUAV_Format QUAV_Variable::GetFormat() const { return GetFormatEx(); }
QUAV_Format QUAV_Variable::GetFormatEx() const { return FromStoredFormat(Body().fPrintFormat); }
QUAV_Format QUAV_Variable::GetWriteFormat() const { return GetWriteFormatEx(); }
QUAV_Format QUAV_Variable::GetWriteFormatEx() const { return FromStoredFormat(Body().fWriteFormat); }

void QUAV_Variable::GetFormat(FormatType& type, int& width, int& decimals) const {
  const QUAV_Format format = GetFormatEx();
  type = format.Type();
  width = format.Width();
  decimals = format.Decimals();
}

void QUAV_Variable::GetWriteFormat(FormatType& type, int& width, int& decimals) const {
  const QUAV_Format format = GetWriteFormatEx();
  type = format.Type();
  width = format.Width();
  decimals = format.Decimals();
}

void QUAV_Variable::SetFormat(QUAV_Format format) { WritableBody().fPrintFormat = ToStoredFormat(format); }
void QUAV_Variable::SetWriteFormat(QUAV_Format format) { WritableBody().fWriteFormat = ToStoredFormat(format); }

void QUAV_Variable::SetFormat(FormatType type, int width, int decimals) {
  SetFormat(QUAV_Format(type, CutFormatWidth(type, width), decimals));
}

void QUAV_Variable::SetWriteFormat(FormatType type, int width, int decimals) {
  SetWriteFormat(QUAV_Format(type, CutFormatWidth(type, width), decimals));
}

const char* QUAV_Variable::GetLabel() const {
  const QUAV_VarLabel* label = Body().fLabel;
  return label ? label->c_str() : nullptr;
}

void QUAV_Variable::SetLabel(const char* text) {
  SetLabel(text, text ? static_cast<unsigned int>(std::strlen(text)) : 0);
}

void QUAV_Variable::SetLabel(const char* text, unsigned int length) {
  WritableBody().Modified().fLabel = text ? QUAV_VariableImpl::InsertLabel(text, length) : nullptr;
}

std::string QUAV_Variable::GetPreferredLabel() const {
  const QUAV_VariableImpl& body = Body();
  return body.fLabel ? *body.fLabel : body.fName;
}

short QUAV_Variable::GetDisplayWidth() const { return Body().fDisplayWidth; }
void QUAV_Variable::SetDisplayWidth(short width) { WritableBody().Modified().fDisplayWidth = width; }

QUAV_Variable::MeasurementLevel QUAV_Variable::GetMeasurementLevel() const {
  return static_cast<MeasurementLevel>(Body().fMeasurementLevel);
}

void QUAV_Variable::SetMeasurementLevel(MeasurementLevel level) {
  WritableBody().Modified().fMeasurementLevel = static_cast<unsigned int>(level) & 0xF;
}

QUAV_Variable::Alignment QUAV_Variable::GetAlignment() const { return static_cast<Alignment>(Body().fAlignment); }

void QUAV_Variable::SetAlignment(Alignment alignment) {
  WritableBody().Modified().fAlignment = static_cast<unsigned int>(alignment) & 0x3;
}

QUAV_Variable::Role QUAV_Variable::GetRole() const { return static_cast<Role>(Body().fRole); }
void QUAV_Variable::SetRole(Role role) { WritableBody().Modified().fRole = role; }

const DatasourceAttributes& QUAV_Variable::GetAttributes() const { return Body().fAttributes; }

void QUAV_Variable::SetAttributes(const DatasourceAttributes& attributes) {
  DatasourceAttributes copy(attributes);
  static_assert(kTakesOverSafely<DatasourceAttributes>);
  WritableBody().Modified().fAttributes = std::move(copy);
}

const QUAV_VLImplPointer& QUAV_Variable::GetValueLabels() const { return Body().fValueLabels; }

void QUAV_Variable::SetValueLabels(const QUAV_VLImplPointer& labels) {
  WritableBody().Modified().fValueLabels = labels;
}

int QUAV_Variable::GetMissingValues(const OBS*& v1, const OBS*& v2, const OBS*& v3) const {
  const QUAV_VariableImpl& body = Body();
  v1 = &body.fMissing[0];
  v2 = &body.fMissing[1];
  v3 = &body.fMissing[2];
  return body.fNMissing;
}

void QUAV_Variable::SetMissingValues(int code, const OBS* v1, const OBS* v2, const OBS* v3) {
  WritableBody().SetMissingValues(code, v1, v2, v3);
}

void QUAV_Variable::SetMissingValues(const OBS* v1, const OBS* v2, const OBS* v3) {
  SetMissingValues(CountGiven(v1, v2, v3), v1, v2, v3);
}

void QUAV_Variable::SetMissingValues(const double* v1, const double* v2, const double* v3) {
  QUAV_ASSERT(v1 == nullptr || GetType() == 0, "v1 == 0 || GetType() == 0");
  AssertNoGap(v1, v2, v3);
  SetMissingValues(CountGiven(v1, v2, v3), CellOrNull(Cell(v1)), CellOrNull(Cell(v2)), CellOrNull(Cell(v3)));
}

void QUAV_Variable::SetMissingValues(const char* v1, const char* v2, const char* v3) {
  QUAV_ASSERT(v1 == nullptr || GetType() != 0, "v1 == 0 || GetType() != 0");
  AssertNoGap(v1, v2, v3);
  SetMissingValues(CountGiven(v1, v2, v3), CellOrNull(Cell(v1)), CellOrNull(Cell(v2)), CellOrNull(Cell(v3)));
}

void QUAV_Variable::SetMissingRange(const double* low, const double* high, const double* v3) {
  QUAV_ASSERT(GetType() == 0, "GetType() == 0");
  const OBS lowCell = low ? NumberCell(*low) : kLowestCell;
  const OBS highCell = high ? NumberCell(*high) : kHighestCell;
  SetMissingValues(v3 ? -3 : -2, &lowCell, &highCell, CellOrNull(Cell(v3)));
}

int QUAV_Variable::IsMissing(const OBS* value) const { return Body().IsMissing(value); }

int QUAV_Variable::IsMissing(const double& value) const {
  const OBS cell = NumberCell(value);
  return Body().IsMissing(&cell);
}

int QUAV_Variable::IsMissing(const char* value) const { return Body().IsMissing(value); }

int QUAV_Variable::IsObsolete() const { return static_cast<int>(Body().fObsolete); }

bool QUAV_Variable::operator==(const QUAV_Variable& other) const {
  QUAV_ASSERT(fpImpl.IsValid(), "fpImpl.IsValid()");
  QUAV_ASSERT(other.fpImpl.IsValid(), "other.fpImpl.IsValid()");
  return *fpImpl == *other.fpImpl;
}

const QUAV_VariableImpl& QUAV_Variable::Body() const {
  QUAV_ASSERT(fpImpl.IsValid(), "fpImpl.IsValid()");
  return *fpImpl;
}

QUAV_VariableImpl& QUAV_Variable::WritableBody() {
  QUAV_ASSERT(fpImpl.IsValid(), "fpImpl.IsValid()");
  return *fpImpl.Unshared();
}
