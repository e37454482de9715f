// The extension record. Format: docs/system-file.md, "Extension record".

#include <array>

#include "core/systemfileformat.h"
#include "systemfile/ByteCursor.h"
#include "systemfile/DictionaryFindings.h"
#include "systemfile/DictionaryReader.h"
#include "systemfile/SystemFileExtensionRecord.h"

namespace {

// What repeated records may go through, in variables, long names and bytes of sets: an amount that is always free, and
// some for each byte of the file.
constexpr std::int64_t kFreeRepeating = std::int64_t{1} << 22;
constexpr std::int64_t kRepeatingOfAByte = 8;

}  // namespace

// Choice: a file has each record once. A repeated one may go through all of the dictionary again, however small it is;
// so the time for all of them is held against the size of the file. Records without a handler only take their place.
void DictionaryReader::RequireLittleRepeating(std::int32_t subtype, std::int64_t size) {
  if (!SystemFileExtensionHandler::IsRegistered(subtype)) return;
  if (!m_handledSubtypes.insert(subtype).second) {
    m_repeatedWork += static_cast<std::int64_t>(m_source.ColumnCount() + m_options.renames.size()) + m_bytesOfSets;
    Require(m_repeatedWork <= kFreeRepeating + kRepeatingOfAByte * m_fileLength, kMalformed,
            "repeatedWork <= 4194304 + 8*fileLength");
  }
  if (subtype == kMRSetsSubtype || subtype == kEnhancedMRSetsSubtype) m_bytesOfSets += size;
}

// A check goes on after a record whose contents are wrong: its size says where the next one begins.
void DictionaryReader::HandOver(std::int32_t subtype, const SystemFileExtensionRecord& record) {
  if (m_options.findings == nullptr) return SystemFileExtensionHandler::Read(subtype, m_source, m_options, record);
  m_options.findings->SetPlace(m_place);
  NoteRepeated(subtype);
  try {
    SystemFileExtensionHandler::Read(subtype, m_source, m_options, record);
  } catch (const SystemFileException& fault) {
    m_options.findings->Fault(fault.Number(),
                              "the contents of the record are wrong (\"" + fault.Expression() + "\" does not hold)");
  }
}

void DictionaryReader::NoteRepeated(std::int32_t subtype) {
  if (m_foundSubtypes.insert(subtype).second) return;
  m_options.NoteFlaw(SystemFileExtensionHandler::IsRegistered(subtype)
                         ? "a record of this subtype comes for the second time"
                         : "a record of this subtype comes for the second time: the one before it is lost");
}

void DictionaryReader::ReadExtensionRecord() {
  std::array<std::byte, 3 * sizeof(std::int32_t)> h;
  ReadWhole(h.data(), h.size(), "len == 3*sizeof(int32)");
  ByteCursor in(h, m_options.Order());
  const std::int32_t subtype = in.I32();
  const std::int32_t unitSize = in.I32();
  const std::int32_t nUnits = in.I32();
  m_place.subtype = subtype;

  SystemFileExtensionRecord record;
  record.UnitSize(unitSize);
  record.NUnits(nUnits);
  if (subtype == kNumberOfCasesSubtype) m_source.NoteNCasesLoc();
  if (subtype == kLongNamesSubtype) m_namesPlace = m_place;
  if (m_options.findings != nullptr && (unitSize == 0 || nUnits == 0)) {
    m_options.findings->SetPlace(m_place);
    m_options.findings->Fault(kMalformed, "the record has no contents");
    return;
  }
  // Deliberate: a record without contents ends the process, in ContentsBuffer. A negative size exceeds any file.
  if (unitSize != 0 && nUnits != 0) {
    Require(unitSize > 0 && nUnits > 0, kUnexpectedEnd, "len == h[2]*h[1]");
    RequireLeft(record.Size(), "len == h[2]*h[1]");
  }
  std::byte* contents = record.ContentsBuffer();
  ReadWhole(contents, static_cast<std::size_t>(record.Size()), "len == h[2]*h[1]");
  RequireLittleRepeating(subtype, record.Size());
  // Deliberate: a subtype below 0 has no handler and ends the process, in SetExtension.
  HandOver(subtype, record);
  if (subtype == kDocumentExtension) m_documentsPlace = m_place;
}
