// A value that owns its cells, and can be compared and sorted.
//
// Numbers and strings of up to 8 bytes are inside the object; wider strings are in an array on the heap.
//
// Threads: a value; one thread at a time for each object.

#ifndef DATASRC_OBSVALUE_H
#define DATASRC_OBSVALUE_H

#include <memory>
#include <string>

#include "Platform/Export.h"
#include "datasrc/Obs.h"

class DATASRC_API ObsValue {
 public:
  explicit ObsValue(double value);
  // Makes a value of `type` (0 numeric, else the string's width in bytes) from the cells of a value of `sourceType`;
  // -1 means the same type. A string of another width is truncated, or filled with blanks. Asserts that both
  // are numbers or both are strings. With a null source all bits are zero, and nothing is asserted.
  ObsValue(int type, const OBS* source, int sourceType);
  ObsValue(const ObsValue& other);
  ~ObsValue() = default;

  // 0 numeric, else the string's width in bytes.
  int Type() const { return _type; }
  const OBS* Cells() const { return _heap ? _heap.get() : &_inline; }

  // Asserts that the type is numeric.
  ObsValue& operator=(const double& value);
  // Sets all its cells from `cells`, which may overlap them.
  ObsValue& operator=(const OBS* cells);
  // The text is truncated to all its cells, or filled with blanks. The type is not checked.
  ObsValue& operator=(const char* text);
  ObsValue& operator=(const std::string& text);
  // The type stays: a string of another width is truncated, or filled with blanks. Asserts that both are numbers or
  // both are strings.
  ObsValue& operator=(const ObsValue& other);

  // These compare by bits.
  bool operator==(const OBS* cells) const;
  bool operator==(const ObsValue& other) const;
  // Returns -1, 0 or 1. Strings are compared by the process's collation, numbers by value; a NaN gives 0. Asserts that
  // both have the same type.
  int Compare(const ObsValue& other) const;
  // Returns -1, 0 or 1 by the bytes: a consistent order, but no numeric one. Asserts that both have the same type.
  int FastCompare(const ObsValue& other) const;
  bool operator<(const ObsValue& other) const { return Compare(other) < 0; }

 private:
  OBS* OwnCells() { return _heap ? _heap.get() : &_inline; }
  void SetText(const char* text, std::size_t length);
  std::size_t Bytes() const { return std::size_t{_cells} * sizeof(OBS); }

  std::unique_ptr<OBS[]> _heap;  // null for a value of one cell
  OBS _inline {};
  unsigned short _type;
  unsigned short _cells;
};

#endif
