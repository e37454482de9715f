#include "datasrc/ObsValue.h"

#include <algorithm>
#include <cstring>

#include "Platform/Assert.h"
#include "Platform/text/QUAVMB.h"

namespace {

int Sign(int number) { return (number > 0) - (number < 0); }

unsigned short CellsOf(int type) { return type <= 8 ? 1 : static_cast<unsigned short>(CellCount(type)); }

std::unique_ptr<OBS[]> Room(unsigned short nCells) {
  std::unique_ptr<OBS[]> cells;
  if (nCells > 1) cells = std::make_unique<OBS[]>(nCells);
  return cells;
}

}  // namespace

ObsValue::ObsValue(double value) : _inline(NumberCell(value)), _type(0), _cells(1) {}

ObsValue::ObsValue(int type, const OBS* source, int sourceType)
    : _heap(Room(CellsOf(type))), _type(static_cast<unsigned short>(type)), _cells(CellsOf(type)) {
  if (!source) return;
  if (sourceType == -1 || sourceType == type) {
    *this = source;
    return;
  }
  QUAV_ASSERT(sourceType != 0 && type != 0, "(sourceType!=0)&&(type!=0)");
  SetText(CellText(source), static_cast<std::size_t>(sourceType));
}

ObsValue::ObsValue(const ObsValue& other) : _heap(Room(other._cells)), _type(other._type), _cells(other._cells) {
  *this = other.Cells();
}

ObsValue& ObsValue::operator=(const double& value) {
  QUAV_ASSERT(_type == 0, "_type == 0");
  _inline = NumberCell(value);
  return *this;
}

ObsValue& ObsValue::operator=(const OBS* cells) {
  std::memmove(OwnCells(), cells, Bytes());
  return *this;
}

ObsValue& ObsValue::operator=(const char* text) {
  SetText(text, std::strlen(text));
  return *this;
}

ObsValue& ObsValue::operator=(const std::string& text) {
  SetText(text.data(), text.size());
  return *this;
}

ObsValue& ObsValue::operator=(const ObsValue& other) {
  QUAV_ASSERT((_type == 0) == (other._type == 0), "(_type==0) == (rhs._type==0)");
  if (_type == other._type) return *this = other.Cells();
  SetText(CellText(other.Cells()), other._type);
  return *this;
}

bool ObsValue::operator==(const OBS* cells) const { return std::equal(cells, cells + _cells, Cells()); }

bool ObsValue::operator==(const ObsValue& other) const { return _type == other._type && *this == other.Cells(); }

int ObsValue::Compare(const ObsValue& other) const {
  QUAV_ASSERT(_type == other._type, "_type == rhs._type");
  if (_type != 0) return Sign(QUAVMBstrncoll_A(CellText(Cells()), CellText(other.Cells()), _type));
  const double left = CellNumber(*Cells());
  const double right = CellNumber(*other.Cells());
  return (left > right) - (left < right);
}

int ObsValue::FastCompare(const ObsValue& other) const {
  QUAV_ASSERT(_type == other._type, "_type == rhs._type");
  return Sign(std::memcmp(Cells(), other.Cells(), Bytes()));
}

void ObsValue::SetText(const char* text, std::size_t length) {
  QUAVMBCopyToFixed_A(OwnCells(), static_cast<int>(Bytes()), text, static_cast<int>(length));
}
