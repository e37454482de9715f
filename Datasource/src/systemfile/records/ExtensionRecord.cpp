// The extension record. Format: docs/system-file.md, "Extension record".

#include <array>

#include "core/systemfileformat.h"
#include "systemfile/ByteCursor.h"
#include "systemfile/DictionaryReader.h"
#include "systemfile/SystemFileExtensionRecord.h"

void DictionaryReader::ReadExtensionRecord() {
  std::array<std::byte, 3 * sizeof(std::int32_t)> h;
  ReadWhole(h.data(), h.size(), "len == 3*sizeof(int32)");
  ByteCursor in(h, m_options.Order());
  const std::int32_t subtype = in.I32();
  const std::int32_t unitSize = in.I32();
  const std::int32_t nUnits = in.I32();

  SystemFileExtensionRecord record;
  record.UnitSize(unitSize);
  record.NUnits(nUnits);
  if (subtype == kNumberOfCasesSubtype) m_source.NoteNCasesLoc();
  // Deliberate: a record without contents ends the process, in ContentsBuffer. A negative size exceeds any file.
  if (unitSize != 0 && nUnits != 0) {
    Require(unitSize > 0 && nUnits > 0, kUnexpectedEnd, "len == h[2]*h[1]");
    RequireLeft(record.Size(), "len == h[2]*h[1]");
  }
  std::byte* contents = record.ContentsBuffer();
  ReadWhole(contents, static_cast<std::size_t>(record.Size()), "len == h[2]*h[1]");
  // Choice: the extension store is a table by subtype; no file may make it grow to gigabytes.
  Require(subtype <= kMaxSubtype, kMalformed, "subtype <= 1048575");
  // Choice: a file has each record once. A few more are accepted, but each may cost the time of the whole dictionary.
  Require(++m_extensionRecords[subtype] <= kMostRecordsOfSubtype, kMalformed, "records of a subtype <= 16");
  // Deliberate: a subtype below 0 has no handler and ends the process, in SetExtension.
  SystemFileExtensionHandler::Read(subtype, m_source, m_options, record);
}
