// A block of bytes that a data source carries without knowing what it means: a number of elements of one size.
//
// Threads: one writer, or several readers.

#ifndef DATASRC_QUAV_EXTENSIONIMPL_H
#define DATASRC_QUAV_EXTENSIONIMPL_H

#include <string>

#include "Platform/Export.h"
#include "Platform/threads/QUAV_RefCntObject.h"

class DATASRC_API QUAV_ExtensionImpl : public QUAV_RefCntObject {
 public:
  // An empty block. An element has at least one byte.
  QUAV_ExtensionImpl(int type, int elementSize) : m_type(type), m_elementSize(elementSize) {}
  QUAV_ExtensionImpl(const QUAV_ExtensionImpl&) = default;
  ~QUAV_ExtensionImpl() override;

  int Type() const { return m_type; }
  int ElementSize() const { return m_elementSize; }
  // The elements, one behind the other.
  const std::string& Bytes() const { return m_bytes; }
  // The number of elements.
  long Length() const { return static_cast<long>(m_bytes.size()) / m_elementSize; }

  // Adds nElements elements, copied from `content`.
  void append(long nElements, const void* content);
  // The last 8 bytes as an integer in the host's order, for blocks whose maker put a hash there; 0 for fewer bytes.
  long long Hash() const;

 private:
  int m_type;
  int m_elementSize;
  std::string m_bytes;
};

#endif
