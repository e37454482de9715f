// Each condition on which the library ends the process, and the function here that finds it:
//
//   record        condition                                   the library's assertion
//   extension     its unit size or its count of units is 0    "m_nUnits && m_unitSize"   ExtensionRecord
//   extension     its subtype is negative                     "0 <= type"                ExtensionRecord
//   index         a slot at which no variable begins          "0 <= index"               IndexRecord
//   sets, trends and documents                                see MetadataLookAhead.cpp
//
// When there are several document records, only the last one counts.
//
// Only variables before the first record of another kind have slots, one for each of their cells. The slots of a string
// follow from its width: the records of its continuations add none.

#include "tools/systemfile/RecordLookAhead.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "Datasource/src/core/systemfileformat.h"
#include "datasrc/Obs.h"
#include "tools/systemfile/MetadataLookAhead.h"

namespace tool {

namespace {

constexpr std::int64_t kNumberSize = sizeof(std::int32_t);
// The rest of a variable record's fixed part, after its type, the flag of its label and the count of missing values.
constexpr std::int64_t kFormatsAndNameSize = kVariableFixedSize - 3 * kNumberSize;
constexpr std::int64_t kValueSize = sizeof(OBS);

// Reads the file's bytes in order. A read past the end returns nothing and ends the walk.
class RecordBytes {
 public:
  explicit RecordBytes(std::FILE* stream) : m_stream(stream) {
    if (fseeko(stream, 0, SEEK_END) == 0) m_left = ftello(stream);
    if (m_left < 0 || fseeko(stream, 0, SEEK_SET) != 0) m_left = 0;
  }

  bool IsOver() const { return m_isOver; }
  void End() { m_isOver = true; }
  // Returns the offset of the next byte.
  std::int64_t Offset() const { return m_offset; }
  void TurnNumbersOver() { m_reversed = true; }
  bool AreNumbersTurned() const { return m_reversed; }

  // Returns 0 when the number is not there.
  std::int32_t I32() {
    std::array<char, kNumberSize> raw{};
    Read(raw.data(), raw.size());
    if (m_reversed) std::ranges::reverse(raw);
    return std::bit_cast<std::int32_t>(raw);
  }
  std::uint8_t Byte() {
    char byte = 0;
    Read(&byte, 1);
    return static_cast<std::uint8_t>(byte);
  }
  std::array<char, kMagicSize> Magic() {
    std::array<char, kMagicSize> magic{};
    Read(magic.data(), magic.size());
    return magic;
  }
  // Returns an empty text when the bytes are not all there.
  std::string Contents(std::int64_t count) {
    std::string bytes;
    if (Holds(count)) bytes.resize(static_cast<std::size_t>(count));
    if (!Holds(count)) End();
    Read(bytes.data(), bytes.size());
    return IsOver() ? std::string() : bytes;
  }
  void Skip(std::int64_t count) {
    if (Advance(count) && fseeko(m_stream, count, SEEK_CUR) != 0) End();
  }
  bool Holds(std::int64_t count) const { return 0 <= count && count <= m_left; }

 private:
  bool Advance(std::int64_t count) {
    if (m_isOver || !Holds(count)) {
      End();
      return false;
    }
    m_left -= count;
    m_offset += count;
    return true;
  }
  void Read(char* bytes, std::size_t count) {
    if (!Advance(static_cast<std::int64_t>(count))) return;
    if (std::fread(bytes, 1, count, m_stream) != count) End();
  }

  std::FILE* m_stream;
  std::int64_t m_left = 0;
  std::int64_t m_offset = 0;
  bool m_isOver = false;
  bool m_reversed = false;
};

class Walk {
 public:
  explicit Walk(std::FILE* stream) : m_in(stream) {}

  std::optional<FatalFlaw> FirstFlaw() {
    Header();
    while (!m_in.IsOver() && !m_flaw) Record();
    return m_flaw ? m_flaw : m_flawOfDocuments;
  }

 private:
  void Header() {
    const auto magic = m_in.Magic();
    const std::string_view text(magic.data(), magic.size());
    if (text != kMagicPlain && text != kMagicZlib) return m_in.End();
    m_in.Skip(kLayoutCodeOffset - m_in.Offset());
    const std::int32_t layoutCode = m_in.I32();
    if (layoutCode < 1 || layoutCode > kMaxLayoutCode) m_in.TurnNumbersOver();
    m_in.Skip(kHeaderSize - m_in.Offset());
  }

  void Record() {
    m_recordOffset = m_in.Offset();
    const std::int32_t type = m_in.I32();
    if (type != kVariableRecord) m_slotsAreClosed = true;
    switch (type) {
      case kVariableRecord:
        return VariableRecord();
      case kValueLabelRecord:
        return LabelRecord();
      case kDocumentRecord:
        return DocumentRecord();
      case kExtensionRecord:
        return ExtensionRecord();
      default:  // the end record, or one that the library reports
        return m_in.End();
    }
  }

  void VariableRecord() {
    const std::int32_t type = m_in.I32();
    const bool hasLabel = m_in.I32() != 0;
    const std::int32_t nMissing = m_in.I32();
    m_in.Skip(kFormatsAndNameSize);
    if (hasLabel) {
      const std::int64_t length = std::max(m_in.I32(), 0);
      m_in.Skip((length + kVariableLabelRounding - 1) / kVariableLabelRounding * kVariableLabelRounding);
    }
    if (type > kMaxFileStringWidth || nMissing < -kMaxMissingCount || nMissing > kMaxMissingCount) return m_in.End();
    m_in.Skip(kValueSize * std::abs(nMissing));
    if (!m_in.IsOver() && !m_slotsAreClosed && type >= 0) AddSlots(type);
  }

  void AddSlots(int type) {
    m_beginsVariable.push_back(true);
    m_beginsVariable.resize(m_beginsVariable.size() + CellCount(type) - 1, false);
  }

  void LabelRecord() {
    for (std::int32_t nLabels = m_in.I32(); nLabels > 0 && !m_in.IsOver(); --nLabels) {
      m_in.Skip(kValueSize);
      m_in.Skip(PaddedLabelSize(m_in.Byte()));
    }
    if (m_in.I32() != kVariableIndexRecord) return m_in.End();
    IndexRecord();
  }

  void IndexRecord() {
    const std::int32_t nSlots = m_in.I32();
    // The library reads the whole list before it looks at a slot.
    if (nSlots <= 0 || !m_in.Holds(nSlots * kNumberSize)) return m_in.End();
    for (std::int32_t i = 0; i < nSlots && !m_flaw; ++i) {
      const std::int64_t offset = m_in.Offset();
      const std::int32_t slot = m_in.I32();
      if (!m_in.IsOver() && !BeginsVariable(slot))
        m_flaw = {"a value label record names the slot " + std::to_string(slot) + ", at which no variable begins",
                  offset};
    }
  }

  bool BeginsVariable(std::int64_t slot) const {
    return 1 <= slot && slot <= std::ssize(m_beginsVariable) && m_beginsVariable[static_cast<std::size_t>(slot - 1)];
  }

  void ExtensionRecord() {
    const std::int32_t subtype = m_in.I32();
    const std::int64_t unitSize = m_in.I32();
    const std::int64_t nUnits = m_in.I32();
    if (m_in.IsOver()) return;
    const std::string name = "the extension record of subtype " + std::to_string(subtype);
    if (unitSize == 0 || nUnits == 0) {
      m_flaw = {name + " has no contents", m_recordOffset};
      return;
    }
    if (unitSize < 0 || nUnits < 0) return m_in.End();
    ExtensionContents(subtype, unitSize, unitSize * nUnits);
    if (subtype > kMaxSubtype) return m_in.End();
    if (!m_in.IsOver() && subtype < 0) m_flaw = {name + " has an invalid subtype", m_recordOffset};
  }

  void ExtensionContents(std::int32_t subtype, std::int64_t unitSize, std::int64_t size) {
    const std::int64_t offset = m_in.Offset();
    switch (subtype) {
      case kDocumentExtension:
        m_flawOfDocuments = Flaw(offset, FindFlawOfDocuments(m_in.Contents(size), static_cast<std::size_t>(unitSize)));
        return;
      case kVariableSetsSubtype:
      case kMRSetsSubtype:
      case kEnhancedMRSetsSubtype: {
        // The library takes their units for bytes, whatever unit size the record has.
        const std::string contents = m_in.Contents(size);
        m_flaw = Flaw(offset, FindFlawOfSets(std::string_view(contents).substr(
                                                 0, contents.size() / static_cast<std::size_t>(unitSize)),
                                             subtype));
        return;
      }
      case kTrendsSubtype:
        m_flaw = Flaw(offset, FindFlawOfTrends(m_in.Contents(size), size / unitSize, m_in.AreNumbersTurned()));
        return;
      default:
        m_in.Skip(size);
    }
  }

  void DocumentRecord() {
    const std::int64_t size = std::int64_t{kDocumentLineSize} * std::max(m_in.I32(), 0);
    const std::int64_t offset = m_in.Offset();
    m_flawOfDocuments = Flaw(offset, FindFlawOfDocuments(m_in.Contents(size), 1));
  }

  static std::optional<FatalFlaw> Flaw(std::int64_t offset, const std::optional<ContentsFlaw>& flaw) {
    if (!flaw) return std::nullopt;
    return FatalFlaw{flaw->trouble, offset + static_cast<std::int64_t>(flaw->place)};
  }

  RecordBytes m_in;
  std::int64_t m_recordOffset = 0;
  std::vector<bool> m_beginsVariable;  // for each slot; the first element is slot 1
  bool m_slotsAreClosed = false;
  std::optional<FatalFlaw> m_flaw;
  std::optional<FatalFlaw> m_flawOfDocuments;  // from the last record of documents
};

}  // namespace

std::string FatalFlaw::Text() const { return trouble + " (at byte " + std::to_string(offset) + ")"; }

namespace {

struct Closer {
  void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using OwnedFile = std::unique_ptr<std::FILE, Closer>;

// ---- A stream of the library as a C stream ----

ssize_t ReadCookie(void* cookie, char* bytes, std::size_t size) {
  auto& stream = *static_cast<QUAV_FileStream*>(cookie);
  const unsigned long count = stream.Read(bytes, size);
  return count == 0 && !stream.Good() ? -1 : static_cast<ssize_t>(count);
}

int SeekCookie(void* cookie, off64_t* offset, int whence) {
  auto& stream = *static_cast<QUAV_FileStream*>(cookie);
  const SeekDirection direction = whence == SEEK_SET   ? kSeekFromStart
                                  : whence == SEEK_CUR ? kSeekFromPresent
                                                       : kSeekFromEnd;
  if (stream.Seek(*offset, direction) != 0) return -1;
  *offset = stream.Tell();
  return 0;
}

}  // namespace

std::optional<FatalFlaw> FindFatalFlaw(const std::string& file) {
  const OwnedFile stream(std::fopen(file.c_str(), "rbe"));
  return stream ? FindFatalFlaw(stream.get()) : std::nullopt;
}

std::optional<FatalFlaw> FindFatalFlaw(QUAV_FileStream& stream) {
  const cookie_io_functions_t calls{&ReadCookie, nullptr, &SeekCookie, nullptr};
  const OwnedFile file(fopencookie(&stream, "rb", calls));
  return file ? FindFatalFlaw(file.get()) : std::nullopt;
}

std::optional<FatalFlaw> FindFatalFlaw(std::FILE* stream) { return Walk(stream).FirstFlaw(); }

}  // namespace tool
