#include "Platform/serial/VStream.h"

#include <algorithm>
#include <cstring>

#include "Platform/stream/QUAV_StrBaseIO.h"

VStream::~VStream() = default;

void VStream::Int(int& number) {
  static_assert(sizeof(int) == 4);
  Move(&number, sizeof(number));
}

void VStream::Bool(bool& flag) {
  auto byte = static_cast<unsigned char>(flag);
  Move(&byte, sizeof(byte));
  flag = byte != 0;
}

void VStream::Value(std::uint64_t& bits) { Move(&bits, sizeof(bits)); }

void VStream::Move(void* bytes, std::size_t size) {
  if (m_good) m_good = IsLoading() ? Load(bytes, size) : Store(bytes, size);
  if (!m_good && IsLoading()) std::memset(bytes, 0, size);
}

bool VMemoryStream::Store(const void* bytes, std::size_t size) {
  m_bytes.append(static_cast<const char*>(bytes), size);
  return true;
}

bool VMemoryStream::Load(void* bytes, std::size_t size) {
  if (m_bytes.size() - m_position < size) return false;
  m_bytes.copy(static_cast<char*>(bytes), size, m_position);
  m_position += size;
  return true;
}

bool VFileStream::Store(const void* bytes, std::size_t size) { return m_file.Write(bytes, size) == size; }

bool VFileStream::Load(void* bytes, std::size_t size) { return m_file.Read(bytes, size) == size; }
