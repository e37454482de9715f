#include "storage/ZCompressionTask.h"

#include <utility>

ZCompressionTask::ZCompressionTask(const std::shared_ptr<QUAV_File>& file, std::string name)
    : m_file(file), m_name(std::move(name)) {}

ZCompressionTask::~ZCompressionTask() = default;

// `owner_before` works for expired files too.
bool ZCompressionTask::IsOf(const std::shared_ptr<QUAV_File>& file) const {
  return !m_file.owner_before(file) && !file.owner_before(m_file);
}

bool ZCompressionTask::CheckFile(const std::shared_ptr<QUAV_File>& file, const std::string& name) {
  if (name.empty() || m_name != name) return false;
  m_file = file;
  return true;
}

void ZCompressionTask::Begin(bool write, long wanted) {
  m_buffers.Begin();
  m_blocks.Begin(m_file.lock());
  m_readFault = 0;
  if (write)
    m_writing.emplace(m_buffers, m_blocks);
  else
    m_reading.emplace(m_buffers, m_blocks, wanted);
}

void ZCompressionTask::End() {
  if (m_reading) m_reading->KeepBlock();
  if (m_reading) m_readFault = m_reading->Fault();
  m_reading.reset();
  m_writing.reset();
  m_buffers.End();
  m_blocks.End();
}

void ZCompressionTask::Forget() {
  m_file.reset();
  m_name.clear();
  m_buffers.Drop();
  m_blocks.Forget();
  m_length = 0;
}

void ZCompressionTask::Leaves(const Kept& kept) {
  if (m_reading) m_reading->Leaves(kept);
}

void* ZCompressionTask::comThreadFunc() {
  m_writing->Work();
  return nullptr;
}

void* ZCompressionTask::decThreadFunc() {
  m_reading->Work();
  return nullptr;
}
