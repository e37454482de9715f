#include "datasrc/QUAV_ExtensionImpl.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>

#include "core/ByteOrder.h"
#include "datasrc/QUAV_DataSource.h"
#include "sources/QUAV_DataSourceData.h"

QUAV_ExtensionImpl::~QUAV_ExtensionImpl() = default;

void QUAV_ExtensionImpl::append(long nElements, const void* content) {
  std::size_t size = 0;
  if (nElements < 0 || __builtin_mul_overflow(nElements, m_elementSize, &size))
    throw std::length_error("too many elements for an extension block");
  m_bytes.append(static_cast<const char*>(content), size);
}

long long QUAV_ExtensionImpl::Hash() const {
  constexpr std::size_t kHashSize = sizeof(std::int64_t);
  if (m_bytes.size() < kHashSize) return 0;
  return Load<std::int64_t>(AsBytes(m_bytes.data() + m_bytes.size() - kHashSize));
}

QUAV_DataSource::Extension::Extension(const QUAV_DataSource& source, int type)
    : m_block(source.HasExtension(type) ? source.pData->fExtensions.at(type)
                                        : RefCountPtr<QUAV_ExtensionImpl>(new QUAV_ExtensionImpl(type, 1))) {}

long QUAV_DataSource::Extension::GetNext(void* buffer, long size) {
  const long elementSize = ElementSize();
  if (elementSize == 0) return 0;
  const long count = std::min(size / elementSize, Length() - m_position);
  if (count > 0) {
    const auto bytes = [elementSize](long elements) { return static_cast<std::size_t>(elements * elementSize); };
    m_block->Bytes().copy(static_cast<char*>(buffer), bytes(count), bytes(m_position));
  }
  // A negative size moves back, to the start at most.
  m_position = std::max(0L, m_position + count);
  return count;
}

bool operator==(const QUAV_DataSource::Extension& a, const QUAV_DataSource::Extension& b) {
  if (!a.m_block.IsValid() || !b.m_block.IsValid()) return a.m_block.IsValid() == b.m_block.IsValid();
  return a.Type() == b.Type() && a.m_block->Bytes() == b.m_block->Bytes();
}
