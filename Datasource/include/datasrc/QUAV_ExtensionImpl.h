// A block of bytes that a data source carries without interpreting it: a number of elements of one size. Handles
// share it (RefCountPtr.h), so it must be on the heap.
//
// Threads: one writer, or several readers.

#ifndef DATASRC_QUAV_EXTENSIONIMPL_H
#define DATASRC_QUAV_EXTENSIONIMPL_H

#include <string>

#include "Platform/Export.h"
#include "Platform/threads/QUAV_RefCntObject.h"

class DATASRC_API QUAV_ExtensionImpl : public QUAV_RefCntObject {
 public:
  // Makes an empty block. `elementSize` is in bytes; a size below 1 counts as 1.
  QUAV_ExtensionImpl(int type, int elementSize) : m_type(type), m_elementSize(elementSize < 1 ? 1 : elementSize) {}
  QUAV_ExtensionImpl(const QUAV_ExtensionImpl&) = default;
  ~QUAV_ExtensionImpl() override;

  int Type() const { return m_type; }
  int ElementSize() const { return m_elementSize; }
  // All elements, one after the other.
  const std::string& Bytes() const { return m_bytes; }
  // Returns the number of elements.
  long Length() const { return static_cast<long>(m_bytes.size()) / m_elementSize; }

  // Appends a copy of the nElements elements at `content`. Throws std::length_error for more bytes than a string can
  // hold, and for a negative number.
  void append(long nElements, const void* content);
  // Returns the last 8 bytes as an integer in the host's byte order, for blocks whose maker stored a hash there; 0 when
  // there are fewer bytes.
  long long Hash() const;

 private:
  int m_type;
  int m_elementSize;
  std::string m_bytes;
};

#endif
