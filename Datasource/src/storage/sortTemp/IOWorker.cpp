#include "storage/sortTemp/IOWorker.h"

#include <cerrno>

IOWorker::IOWorker(const std::shared_ptr<QUAV_File>& file, bool encrypt) : m_file(file), m_encrypt(encrypt) {
  m_file->Join();
}

IOWorker::~IOWorker() { Close(); }

bool IOWorker::compressBlock(char* /*in*/, unsigned long /*inSize*/, char* /*out*/, unsigned long& /*outSize*/) const {
  return false;
}

bool IOWorker::decompressBlock(char* /*in*/, unsigned long /*inSize*/, char* /*out*/,
                               unsigned long& /*outSize*/) const {
  return false;
}

int IOWorker::Read(char* buffer, unsigned long count) {
  const QUAV_File::Transfer transfer = m_file->ReadAt(buffer, count, m_position);
  m_position += static_cast<long>(transfer.bytes);
  if (transfer.bytes == count) return 0;
  return transfer.error != 0 ? transfer.error : EIO;
}

int IOWorker::Write(const char* buffer, unsigned long count) {
  const QUAV_File::Transfer transfer = m_file->WriteAt(buffer, count, m_position);
  m_position += static_cast<long>(transfer.bytes);
  return transfer.error;
}

void IOWorker::Close() {
  if (m_file) m_file->Leave();
  m_file.reset();
}
