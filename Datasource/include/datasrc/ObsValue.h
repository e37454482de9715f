// A value taken out of cells, which owns its bytes and can be compared and sorted.
//
// Numbers and strings up to 8 bytes stand inside the object; wider strings in an array of their own.
//
// Threads: a value.

#ifndef DATASRC_OBSVALUE_H
#define DATASRC_OBSVALUE_H

#include <memory>
#include <string>

#include "Platform/Export.h"
#include "datasrc/Obs.h"

class DATASRC_API ObsValue {
 public:
  explicit ObsValue(double value);
  // A value of the type (0 numeric, else the string's width) from the cells of a variable of the source type. -1 stands
  // for the same type. A string of another width is cut or filled with blanks; a number and a string assert. With a
  // null source the cells are left as they are.
  ObsValue(int type, const OBS* source, int sourceType);
  ObsValue(const ObsValue& other);
  ~ObsValue() = default;

  int Type() const { return _type; }
  const OBS* Cells() const { return m_heap ? m_heap.get() : &m_inline; }

  // The value must be a number.
  ObsValue& operator=(const double& value);
  // All its cells from the given ones; they may overlap.
  ObsValue& operator=(const OBS* cells);
  // Cut or filled with blanks to all its cells; the type is not looked at.
  ObsValue& operator=(const char* text);
  ObsValue& operator=(const std::string& text);
  // Keeps its type: a string of another width is cut or filled. A number and a string assert.
  ObsValue& operator=(const ObsValue& other);

  // By bits.
  bool operator==(const OBS* cells) const;
  bool operator==(const ObsValue& other) const;
  // -1, 0, 1; both must be of one type. Strings by the process's collation; numbers by value, 0 with a NaN.
  int Compare(const ObsValue& other) const;
  // -1, 0, 1 by the bytes: a consistent order, no numeric one.
  int FastCompare(const ObsValue& other) const;
  bool operator<(const ObsValue& other) const { return Compare(other) < 0; }

 private:
  OBS* OwnCells() { return m_heap ? m_heap.get() : &m_inline; }
  void SetText(const char* text, std::size_t length);
  std::size_t Bytes() const { return std::size_t{m_cells} * sizeof(OBS); }

  std::unique_ptr<OBS[]> m_heap;  // null while one cell serves
  OBS m_inline{};
  unsigned short _type;
  unsigned short m_cells;
};

#endif
