// The framework for extension records: the image of a record, and the registry of handlers that read and write
// records by subtype.
//
// A handler is one object without state in a source file of its own, which registers itself at load:
//
//   class SFExtensionExample final : public SystemFileExtensionHandler { ... };
//   SFExtensionExample theHandler;
//
// A record without a handler goes unparsed into the extension store of the data source, and from there unchanged into
// every file saved from that source. Subtype 0 in the store holds the documents; it is not a record.
//
// Threads: handlers register before any thread starts; afterwards the registry is only read.

#ifndef DATASRC_SRC_SYSTEMFILE_SYSTEMFILEEXTENSIONRECORD_H
#define DATASRC_SRC_SYSTEMFILE_SYSTEMFILEEXTENSIONRECORD_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string_view>

#include "core/ByteOrder.h"
#include "datasrc/SystemFileDataSource.h"
#include "systemfile/SystemFileOptions.h"

// The contents of a record: units of one size. It gets a shape first, is filled once, and is written when it has units.
class SystemFileExtensionRecord {
 public:
  std::int32_t UnitSize() const { return m_unitSize; }
  std::int64_t NUnits() const { return m_nUnits; }
  std::int64_t Size() const { return m_nUnits * m_unitSize; }
  // These assert that there are no contents yet.
  void UnitSize(int bytes);
  void NUnits(long count);

  // Returns the contents, Size() bytes, created at the first call. Asserts that the record has a shape.
  std::byte* ContentsBuffer();
  // Returns null until the record is filled.
  const std::byte* Contents() const { return m_pContents.get(); }
  std::span<const std::byte> Bytes() const { return {Contents(), static_cast<std::size_t>(Size())}; }
  // Returns the same bytes as text.
  std::string_view Text() const { return {AsText(Contents()), static_cast<std::size_t>(Size())}; }
  // Sets the shape and the contents at once; the bytes are whole units.
  void Fill(int unitSize, std::span<const std::byte> bytes);
  // Does the same with a text, whose units are bytes.
  void Fill(std::string_view text) { Fill(1, {AsBytes(text.data()), text.size()}); }

 private:
  std::unique_ptr<std::byte[]> m_pContents;
  std::int64_t m_nUnits = 0;
  std::int32_t m_unitSize = 0;
};

// The records of a file by subtype, in the order in which they are written.
using SystemFileExtensionRecords = std::map<std::int32_t, SystemFileExtensionRecord>;

class SystemFileExtensionHandler {
 public:
  // Contract: the order of the virtual operations. Write may leave the record empty: then no record is written.
  virtual void Write(SystemFileDataSource::SaveDS& source, SystemFileExtensionRecord& record) = 0;
  // Throws SystemFileException 1204 for contents that it cannot accept.
  virtual void Read(SystemFileDataSource& source, SystemFileOptions& options,
                    const SystemFileExtensionRecord& record) = 0;
  virtual ~SystemFileExtensionHandler() = default;

  // A later handler of a subtype replaces an earlier one. The handler is not owned. Asserts that the subtype is not
  // negative.
  static void Register(int subtype, SystemFileExtensionHandler* handler);
  static bool IsRegistered(int subtype);
  // These call the handler of the subtype. Without one, the record goes to, or comes from, the extension store.
  static void Read(int subtype, SystemFileDataSource& source, SystemFileOptions& options,
                   const SystemFileExtensionRecord& record);
  static void Write(int subtype, SystemFileDataSource::SaveDS& source, SystemFileExtensionRecord& record);
};

#endif
