#include "systemfile/FileStamp.h"

#include <algorithm>
#include <cerrno>

#include "Platform/stream/StreamBeneath.h"

FileStamp FileStamp::Of(const QUAV_FileStream& stream) {
  const StreamBeneath beneath(stream);
  const auto& file = beneath.GetFile();
  if (file == nullptr) {
    errno = EBADF;
    return {};
  }
  FileStamp stamp;
  stamp.m_identity = file->GetIdentity();
  stamp.m_length = file->Length();
  if (stamp.m_length < 0) return {};
  const auto size = std::min(stamp.m_end.size(), static_cast<std::size_t>(stamp.m_length));
  const auto transfer = file->ReadAt(stamp.m_end.data(), size, stamp.m_length - static_cast<std::int64_t>(size));
  stamp.m_isKnown = transfer.bytes == size;
  if (!stamp.m_isKnown) errno = transfer.error != 0 ? transfer.error : EIO;
  return stamp;
}

bool FileStamp::Matches(const FileStamp& other) const {
  return m_isKnown && other.m_isKnown && m_identity == other.m_identity && m_length == other.m_length &&
         m_end == other.m_end;
}
