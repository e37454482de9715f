#include "Platform/threads/QUAV_RefCntObject.h"

QUAV_RefCntObject::~QUAV_RefCntObject() = default;

void QUAV_RefCntObject::RemoveReference() {
  if (m_references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}
