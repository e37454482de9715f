#include "systemfile/SystemFileExtensionRecord.h"

#include <algorithm>
#include <vector>

#include "Platform/Assert.h"
#include "systemfile/SaveDS.h"

namespace {

// Created on first use: the order in which the handlers' files are loaded is not defined.
std::vector<SystemFileExtensionHandler*>& Registry() {
  static std::vector<SystemFileExtensionHandler*> handlers;
  return handlers;
}

SystemFileExtensionHandler* HandlerOf(int subtype) {
  const auto& handlers = Registry();
  if (subtype < 0 || static_cast<std::size_t>(subtype) >= handlers.size()) return nullptr;
  return handlers[static_cast<std::size_t>(subtype)];
}

}  // namespace

void SystemFileExtensionRecord::UnitSize(int bytes) {
  QUAV_ASSERT(m_pContents == nullptr, "m_pContents == 0");
  m_unitSize = bytes;
}

void SystemFileExtensionRecord::NUnits(long count) {
  QUAV_ASSERT(m_pContents == nullptr, "m_pContents == 0");
  m_nUnits = count;
}

std::byte* SystemFileExtensionRecord::ContentsBuffer() {
  QUAV_ASSERT(m_nUnits && m_unitSize, "m_nUnits && m_unitSize");
  if (m_pContents == nullptr)
    m_pContents = std::make_unique_for_overwrite<std::byte[]>(static_cast<std::size_t>(Size()));
  return m_pContents.get();
}

void SystemFileExtensionRecord::Fill(int unitSize, std::span<const std::byte> bytes) {
  UnitSize(unitSize);
  NUnits(static_cast<long>(bytes.size()) / unitSize);
  std::ranges::copy(bytes, ContentsBuffer());
}

void SystemFileExtensionHandler::Register(int subtype, SystemFileExtensionHandler* handler) {
  QUAV_ASSERT(0 <= subtype, "0 <= subtype");
  auto& handlers = Registry();
  const auto place = static_cast<std::size_t>(subtype);
  if (place >= handlers.size()) handlers.resize(place + 1);
  handlers[place] = handler;
}

bool SystemFileExtensionHandler::IsRegistered(int subtype) { return HandlerOf(subtype) != nullptr; }

void SystemFileExtensionHandler::Read(int subtype, SystemFileDataSource& source, SystemFileOptions& options,
                                      const SystemFileExtensionRecord& record) {
  if (SystemFileExtensionHandler* handler = HandlerOf(subtype))
    handler->Read(source, options, record);
  else
    source.SetExtension(subtype, record.UnitSize(), record.NUnits(), record.Contents());
  options.NoteExtension(subtype);
}

void SystemFileExtensionHandler::Write(int subtype, SystemFileDataSource::SaveDS& source,
                                       SystemFileExtensionRecord& record) {
  if (SystemFileExtensionHandler* handler = HandlerOf(subtype)) {
    handler->Write(source, record);
  } else if (source.HasExtension(subtype)) {
    QUAV_DataSource::Extension extension(source, subtype);
    record.UnitSize(extension.ElementSize());
    record.NUnits(extension.Length());
    extension.GetNext(record.ContentsBuffer(), static_cast<long>(record.Size()));
  }
}
