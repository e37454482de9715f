// The frame around extension records: the image of one record, and the registry of the handlers that read and write
// them by subtype.
//
// A handler is one object without state in a source file of its own, which registers itself at load:
//
//   class SFExtensionExample final : public SystemFileExtensionHandler { ... };
//   SFExtensionExample theHandler;
//
// A record that no handler knows goes unparsed into the extension store of the data source, and from there unchanged
// into every file saved from it. Subtype 0 is the slot of the documents there, no record.
//
// Threads: handlers register before there are threads; afterwards the registry is only read.

#ifndef DATASRC_SRC_SYSTEMFILE_SYSTEMFILEEXTENSIONRECORD_H
#define DATASRC_SRC_SYSTEMFILE_SYSTEMFILEEXTENSIONRECORD_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include "core/ByteOrder.h"
#include "datasrc/SystemFileDataSource.h"
#include "systemfile/SystemFileOptions.h"

// The contents of a record: units of one size. It is shaped first, filled once, and written when it has units.
class SystemFileExtensionRecord {
 public:
  std::int32_t UnitSize() const { return m_unitSize; }
  std::int64_t NUnits() const { return m_nUnits; }
  std::int64_t Size() const { return m_nUnits * m_unitSize; }
  // These assert that there are no contents yet.
  void UnitSize(int bytes);
  void NUnits(long count);

  // The contents, Size() bytes, made at the first call. Asserts that the record has a shape.
  std::byte* ContentsBuffer();
  // Null until filled.
  const std::byte* Contents() const { return m_pContents.get(); }
  std::span<const std::byte> Bytes() const { return {Contents(), static_cast<std::size_t>(Size())}; }
  // The same as text.
  std::string_view Text() const { return {AsText(Contents()), static_cast<std::size_t>(Size())}; }
  // Shapes and fills at once; the bytes are whole units.
  void Fill(int unitSize, std::span<const std::byte> bytes);
  // The same with a text, whose units are bytes.
  void Fill(std::string_view text) { Fill(1, {AsBytes(text.data()), text.size()}); }

 private:
  std::unique_ptr<std::byte[]> m_pContents;
  std::int64_t m_nUnits = 0;
  std::int32_t m_unitSize = 0;
};

class SystemFileExtensionHandler {
 public:
  virtual ~SystemFileExtensionHandler() = default;
  // Contract: the order of the virtual operations. Write may leave the record empty, which means that none is written.
  virtual void Write(SystemFileDataSource::SaveDS& source, SystemFileExtensionRecord& record) = 0;
  // Throws SystemFileException 1204 on contents that it cannot take.
  virtual void Read(SystemFileDataSource& source, SystemFileOptions& options,
                    const SystemFileExtensionRecord& record) = 0;

  // A later handler of a subtype takes the place of an earlier one. The handler is not owned.
  static void Register(int subtype, SystemFileExtensionHandler* handler);
  // By the handler of the subtype; with none, from and to the extension store.
  static void Read(int subtype, SystemFileDataSource& source, SystemFileOptions& options,
                   const SystemFileExtensionRecord& record);
  static void Write(int subtype, SystemFileDataSource::SaveDS& source, SystemFileExtensionRecord& record);
};

#endif
