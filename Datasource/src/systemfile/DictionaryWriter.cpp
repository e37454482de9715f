#include "systemfile/DictionaryWriter.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string_view>
#include <unordered_map>

#include "Platform/Assert.h"
#include "core/systemfileformat.h"
#include "dictionary/MissingCode.h"
#include "dictionary/varimpl.h"
#include "systemfile/ByteBuilder.h"

namespace {

constexpr std::time_t kFirstClock = 86400;

// A variable record has no more bits of a format; record 25 has the rest, for the types that need it.
std::int32_t FileFormat(StoredFormat stored) { return static_cast<std::int32_t>(stored & kFileFormatMask); }

// The words of a variable record up to the name, which takes 8 bytes.
struct VariableWords {
  std::int32_t type;
  bool hasLabel = false;
  std::int32_t missingCode = 0;
  std::int32_t printFormat = kContinuationFormat;
  std::int32_t writeFormat = kContinuationFormat;
  std::string_view name = {};
};

void AppendVariable(ByteBuilder& out, const VariableWords& words) {
  out.I32(kVariableRecord);
  out.I32(words.type);
  out.I32(words.hasLabel ? 1 : 0);
  out.I32(words.missingCode);
  out.I32(words.printFormat);
  out.I32(words.writeFormat);
  out.Field(words.name, kShortNameSize);
}

}  // namespace

HeaderDateTime FormDateTime(std::time_t clock) {
  constexpr std::array kMonths{"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const std::time_t time = std::max(clock, kFirstClock);
  std::tm local{};
  localtime_r(&time, &local);
  std::array<char, 64> date;
  std::snprintf(date.data(), date.size(), "%02d %-3.3s %02d", local.tm_mday,
                kMonths[static_cast<std::size_t>(local.tm_mon)], local.tm_year % 100);
  std::array<char, 64> ofDay;
  std::snprintf(ofDay.data(), ofDay.size(), "%02d:%02d:%02d", local.tm_hour, local.tm_min, local.tm_sec);
  return {date.data(), ofDay.data()};
}

std::int32_t HeaderCaseCount(long long cases) {
  return cases < std::numeric_limits<std::int32_t>::max() ? -1 : static_cast<std::int32_t>(cases);
}

long long DictionaryWriter::Write(const SystemFileExtensionRecords& extensions) {
  WriteHeader();
  for (int column = 0; column < static_cast<int>(m_dictionary.ColumnCount()); ++column)
    WriteVariableRecord(m_dictionary.GetVariable(column));
  WriteLabelRecords();
  WriteDocumentsRecords();
  const long long nCasesLoc = WriteExtensionRecords(extensions);
  WriteEnd();
  return nCasesLoc;
}

void DictionaryWriter::Put(std::span<const std::byte> bytes) { m_file.Write(bytes.data(), bytes.size()); }

void DictionaryWriter::WriteHeader() {
  ByteBuilder magic;
  magic.Text(m_options.compression == kCompressionZlib ? kMagicZlib : kMagicPlain);
  Put(magic.Bytes());

  const HeaderDateTime created = FormDateTime(std::time(nullptr));
  const char* const label = m_dictionary.GetLabel();
  ByteBuilder out;
  out.Field(m_options.eyeCatcher.c_str(), kEyeCatcherSize);
  out.I32(m_options.layoutCode);
  out.I32(static_cast<std::int32_t>(m_dictionary.GetObsAreaSize()));
  out.I32(m_options.compression);
  out.I32(m_dictionary.ObsIndex(m_dictionary.GetWeightVarIndex()) + 1);
  out.I32(HeaderCaseCount(m_options.numberOfCases));
  out.Double(m_options.bias);
  out.Field(created.date, kCreationDateSize);
  out.Field(created.time, kCreationTimeSize);
  out.Field(label == nullptr ? "" : label, kFileLabelSize);
  out.Fill(kHeaderPaddingSize, '\0');
  Put(out.Bytes());
}

void DictionaryWriter::WriteVariableRecord(const QUAV_Variable& variable) {
  const QUAV_VariableImpl& body = QUAV_VariableImpl::Of(variable);
  const int type = variable.GetType();
  std::array<const OBS*, kMaxMissingCount> missing{};
  const int missingCode = MissingCodeInUse(variable.GetMissingValues(missing[0], missing[1], missing[2]));
  ByteBuilder out;
  AppendVariable(out, {.type = type,
                       .hasLabel = body.fLabel != nullptr,
                       .missingCode = missingCode,
                       .printFormat = FileFormat(body.fPrintFormat),
                       .writeFormat = FileFormat(body.fWriteFormat),
                       .name = variable.GetName()});
  if (body.fLabel != nullptr) {
    const std::size_t length = body.fLabel->size();
    out.I32(static_cast<std::int32_t>(length));
    out.Field(*body.fLabel, (length + kVariableLabelRounding - 1) / kVariableLabelRounding * kVariableLabelRounding);
  }
  for (int i = 0; i < std::abs(missingCode); ++i) out.Cell(*missing[static_cast<std::size_t>(i)]);
  for (int covered = 8; covered < type; covered += 8) AppendVariable(out, {.type = -1});
  Put(out.Bytes());
}

// ---- Value labels ----

void DictionaryWriter::WriteLabelRecords() {
  // The label maps, in the order of their first columns, and the slots of their columns.
  std::vector<std::pair<QUAV_VLImplPointer, std::vector<int>>> maps;
  std::unordered_map<const QUAV_VLMapImpl*, std::size_t> places;
  for (int column = 0; column < static_cast<int>(m_dictionary.ColumnCount()); ++column) {
    const QUAV_VLImplPointer& body = m_dictionary.GetVariable(column).GetValueLabels();
    if (!body.IsValid()) continue;
    const auto [entry, isNew] = places.emplace(body.get(), maps.size());
    if (isNew) maps.push_back({body, {}});
    maps[entry->second].second.push_back(m_dictionary.ObsIndex(column) + 1);
  }
  for (const auto& [body, slots] : maps) {
    WriteLabelSet(QUAV_ValueLabelMap(body));
    WriteLabelSetReferences(slots);
  }
}

void DictionaryWriter::WriteLabelSet(QUAV_ValueLabelMap map) {
  ByteBuilder out;
  out.I32(kValueLabelRecord);
  out.I32(map.Size());
  const OBS* value = nullptr;
  const char* label = nullptr;
  for (map.Reset(); map.GetNextPair(value, label) != 0;) {
    // Deliberate: truncated to 255 bytes, even inside a character.
    const int length = static_cast<int>(std::min<std::size_t>(std::strlen(label), kMaxLabelSize));
    out.Cell(*value);
    out.Byte(length);
    out.Field({label, static_cast<std::size_t>(length)}, static_cast<std::size_t>(PaddedLabelSize(length)));
  }
  Put(out.Bytes());
}

void DictionaryWriter::WriteLabelSetReferences(const std::vector<int>& slots) {
  const std::size_t nFound = slots.size();
  QUAV_ASSERT(nFound, "nFound");
  ByteBuilder out;
  out.I32(kVariableIndexRecord);
  out.I32(static_cast<std::int32_t>(nFound));
  for (const int slot : slots) out.I32(slot);
  Put(out.Bytes());
}

// ---- Documents and extensions ----

void DictionaryWriter::WriteDocumentsRecords() {
  if (!m_dictionary.HasExtension(kDocumentExtension)) return;
  QUAV_DataSource::Extension documents(m_dictionary, kDocumentExtension);
  const long len = documents.ElementSize() * documents.Length();
  std::string lines(static_cast<std::size_t>(len), '\0');
  const long got = documents.GetNext(lines.data(), len) * documents.ElementSize();
  QUAV_ASSERT(got == len, "got == len");
  const long count = len / kDocumentLineSize;  // an incomplete line is dropped
  ByteBuilder out;
  out.I32(kDocumentRecord);
  out.I32(static_cast<std::int32_t>(count));
  out.Text(std::string_view(lines).substr(0, static_cast<std::size_t>(count * kDocumentLineSize)));
  Put(out.Bytes());
}

long long DictionaryWriter::WriteExtensionRecords(const SystemFileExtensionRecords& extensions) {
  long long nCasesLoc = 0;
  for (const auto& [subtype, record] : extensions) {
    if (record.NUnits() == 0) continue;
    ByteBuilder head;
    head.I32(kExtensionRecord);
    head.I32(subtype);
    head.I32(record.UnitSize());
    head.I32(static_cast<std::int32_t>(record.NUnits()));
    Put(head.Bytes());
    if (subtype == kNumberOfCasesSubtype) nCasesLoc = m_file.Tell();
    Put(record.Bytes());
  }
  return nCasesLoc;
}

void DictionaryWriter::WriteEnd() {
  ByteBuilder out;
  out.I32(kEndRecord);
  out.I32(0);
  Put(out.Bytes());
}
