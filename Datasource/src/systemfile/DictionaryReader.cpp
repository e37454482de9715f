#include "systemfile/DictionaryReader.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "core/systemfileformat.h"
#include "datasrc/QUAV_Variable.h"
#include "systemfile/DictionaryFindings.h"
#include "systemfile/SystemFileException.h"

namespace {

constexpr char kUnknownMagic[] =
    "std::string(magic) == \"$FL2\" || std::string(magic) == \"$FL3\" || std::string( magic2 ) == \"ENCRYPTEDSAV\"";

// Reads `size` bytes of text. The result is valid until the next call for `text`.
template <std::size_t size>
std::string_view ReadText(QUAV_FileStream& file, std::array<char, size>& text, const char* expression) {
  if (file.Read(text.data(), size) != size) ThrowSystemFileException(kUnexpectedEnd, expression, !file.Good());
  return {text.data(), size};
}

}  // namespace

FileKind TestMagic(QUAV_FileStream& file) {
  std::array<char, kMagicSize> magic;
  ReadText(file, magic, "nRead == 4");
  const std::string_view first(magic.data(), magic.size());
  if (first == kMagicPlain) return FileKind::plain;
  if (first == kMagicZlib) return FileKind::zlib;
  ReadText(file, magic, "nRead == 4");
  std::array<char, kMagicEncryptedSize> letters;
  Require(ReadText(file, letters, "nRead == 12") == kMagicEncrypted, kMalformed, kUnknownMagic);
  return FileKind::encrypted;
}

// ---- Reading bytes ----

DictionaryReader::DictionaryReader(SystemFileDataSource& source, SystemFileOptions& options, QUAV_FileStream& file)
    : m_source(source),
      m_options(options),
      m_file(file),
      m_slots(source),
      m_fileLength(file.Length()),
      m_place{.offset = 0} {
  if (m_fileLength < 0) ThrowSystemFileException(kUnexpectedEnd, "m_fileLength >= 0", true);
}

std::int64_t DictionaryReader::Left() { return std::max<std::int64_t>(m_fileLength - m_file.Tell(), 0); }

void DictionaryReader::ReadWhole(void* bytes, std::size_t size, const char* expression, std::source_location place) {
  if (m_file.Read(bytes, size) != size) ThrowSystemFileException(kUnexpectedEnd, expression, !m_file.Good(), place);
}

void DictionaryReader::RequireLeft(std::int64_t size, const char* expression, std::source_location place) {
  Require(size <= Left(), kUnexpectedEnd, expression, place);
}

void DictionaryReader::ReadLoosely(void* bytes, std::size_t size) {
  auto* const to = static_cast<std::byte*>(bytes);
  for (std::size_t done = 0; done < size;) {
    const std::size_t got = m_file.Read(to + done, size - done);
    if (!m_file.Good()) ThrowSystemFileException(kUnexpectedEnd, "m_file.Good()", true);
    if (got == 0) break;
    done += got;
  }
}

// ---- The records in their order ----

void DictionaryReader::Read() {
  try {
    ReadHeader();
    ReadRecords();
  } catch (SystemFileException& fault) {
    fault.SetPlace(m_place);
    throw;
  }
}

void DictionaryReader::ReadRecords() {
  bool variablePart = true;
  for (;;) {
    m_place = {.offset = m_file.Tell()};
    const auto type = ReadNumber<std::int32_t>("len == sizeof(recType)");
    m_place.record = type;
    if (variablePart && type != kVariableRecord) {
      CloseVariablePart();
      variablePart = false;
    }
    switch (type) {
      case kVariableRecord:
        // Deliberate: also after other records. Such a variable has no slot, which is not an error.
        if (!variablePart) NoteFlawAt(m_place.offset, "the variable comes after other records, and has no values");
        if (!m_namesPlace.IsKnown()) m_namesPlace = m_place;
        ReadVariableRecord();
        break;
      case kValueLabelRecord:
        ReadLabelRecord();
        break;
      case kDocumentRecord:
        ReadDocumentRecord();
        break;
      case kExtensionRecord:
        ReadExtensionRecord();
        break;
      case kEndRecord:
        ReadNumber<std::int32_t>("len == sizeof(padding)");
        return;
      default:
        Require(false, kMalformed, "false");
    }
  }
}

// Sets what depends on the variables: slots, layout, weight.
void DictionaryReader::CloseVariablePart() {
  m_slots.ReIndex();
  m_options.layout = SystemFileLayout(m_source, {}, m_options.Order());
  m_source.SetWeightVar(m_slots.ColumnAt(m_options.weightIndex));
  if (m_options.findings != nullptr) NoteHeaderFlaws();
}

void DictionaryReader::NoteFlawAt(std::int64_t offset, const char* text) {
  if (m_options.findings == nullptr) return;
  m_options.findings->SetPlace({.offset = offset, .record = offset < kHeaderSize ? 0 : m_place.record});
  m_options.NoteFlaw(text);
}

// Notes what the header says and the variables do not bear out.
void DictionaryReader::NoteHeaderFlaws() {
  if (m_nominalCaseSize != m_options.layout.NominalCaseSize())
    NoteFlawAt(kNominalCaseSizeOffset, "the header gives another size of a case than the variables have");
  if (m_options.weightIndex != 0 && m_slots.ColumnAt(m_options.weightIndex) < 0)
    NoteFlawAt(kWeightOffset, "no variable begins at the slot of the weight: the cases have no weight");
  if (m_options.bias != kCompressionBias)
    NoteFlawAt(kBiasOffset, "the bias of the case codes is not 100, and is not used");
}

void ReadSystemFileDictionary(SystemFileDataSource& source, SystemFileOptions& options, QUAV_FileStream& file) {
  DictionaryReader(source, options, file).Read();
}
