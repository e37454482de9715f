// Every record type, size, offset and constant of the system file format, defined once. Reader and writer use these
// names. Format: docs/system-file.md.

#ifndef DATASRC_SRC_CORE_SYSTEMFILEFORMAT_H
#define DATASRC_SRC_CORE_SYSTEMFILEFORMAT_H

#include <cstdint>

// ---- Magic ----

inline constexpr int kMagicSize = 4;
inline constexpr char kMagicPlain[] = "$FL2";  // no compression, or byte codes
inline constexpr char kMagicZlib[] = "$FL3";
// An encrypted file has these letters after an 8-byte length.
inline constexpr char kMagicEncrypted[] = "ENCRYPTEDSAV";
inline constexpr int kMagicEncryptedSize = 12;

// ---- Wrapper: what precedes encrypted contents, in the writer's byte order ----

// The length of the rest, the letters, a code, zero bytes.
inline constexpr int kWrapperSize = 36;
inline constexpr std::int64_t kWrapperBlockSize = 28;
inline constexpr int kWrapperIdOffset = 8;
inline constexpr int kWrapperCodeOffset = 20;
inline constexpr std::int32_t kWrapperCode = 21;
// The number of decrypted bytes that are needed to recognise a system file.
inline constexpr int kFileTypeSize = 80;

// ---- Header: 176 bytes, the magic included ----

inline constexpr int kHeaderSize = 176;
inline constexpr int kEyeCatcherSize = 60;
inline constexpr int kCreationDateSize = 9;  // "14 Mar 24"
inline constexpr int kCreationTimeSize = 8;  // "10:20:30"
inline constexpr int kFileLabelSize = 64;
inline constexpr int kHeaderPaddingSize = 3;
inline constexpr int kLayoutCodeOffset = 64;
inline constexpr int kNominalCaseSizeOffset = 68;
inline constexpr int kCompressionOffset = 72;
inline constexpr int kWeightOffset = 76;
inline constexpr int kHeaderCaseCountOffset = 80;
inline constexpr int kBiasOffset = 84;
inline constexpr int kCreationDateOffset = 92;

// A layout code from 1 to this one means the reader's byte order.
inline constexpr std::int32_t kMaxLayoutCode = 255;
// In an encrypted file the layout code is at most this.
inline constexpr std::int32_t kMaxEncryptedLayoutCode = 3;
inline constexpr double kCompressionBias = 100.0;

enum CompressionKind : std::int32_t { kCompressionNone = 0, kCompressionByteCodes = 1, kCompressionZlib = 2 };

// ---- Dictionary records, by the 32-bit type that each begins with ----

enum RecordType : std::int32_t {
  kVariableRecord = 2,
  kValueLabelRecord = 3,
  kVariableIndexRecord = 4,  // directly after a value label record
  kDocumentRecord = 6,
  kExtensionRecord = 7,
  kEndRecord = 999,
};

// Variable record: type, has label, missing count, print format, write format, name.
inline constexpr int kVariableFixedSize = 28;
inline constexpr int kShortNameSize = 8;
inline constexpr int kMaxFileStringWidth = 255;  // the file stores a wider string as several variables
inline constexpr int kMaxMissingCount = 3;
inline constexpr int kVariableLabelRounding = 4;
// The bits of a format that a variable record holds: types up to 63, and widths of one byte (two bytes for type 1).
inline constexpr std::uint32_t kFileFormatMask = 0x3FFFFF;
// Both formats of a continuation record. The value describes nothing, but is part of the file format.
inline constexpr std::int32_t kContinuationFormat = 0x11D01;

// Value label record: a value and a length byte, then text. Length byte and text together fill a multiple of 8.
inline constexpr int kLabelHeadSize = 9;
inline constexpr int kMaxLabelSize = 255;
constexpr int PaddedLabelSize(int length) { return ((length + 8) & 0x1F8) - 1; }

inline constexpr int kDocumentLineSize = 80;
// The extension store holds the documents under this type.
inline constexpr int kDocumentExtension = 0;

// ---- Extension records ----

enum ExtensionSubtype : int {
  kSourceParametersSubtype = 3,
  kSourceNumbersSubtype = 4,
  kVariableSetsSubtype = 5,
  kTrendsSubtype = 6,
  kMRSetsSubtype = 7,
  kDisplaySubtype = 11,
  kLongNamesSubtype = 13,
  kVeryLongStringsSubtype = 14,
  kNumberOfCasesSubtype = 16,
  kDatasetAttributesSubtype = 17,
  kVariableAttributesSubtype = 18,
  kEnhancedMRSetsSubtype = 19,
  kLongStringLabelsSubtype = 21,
  kLongStringMissingSubtype = 22,
  kSortKeySubtype = 23,
  kDEFormattingSubtype = 24,
  kFormatsSubtype = 25,
};
// The offset of the number of cases in the contents of record 16, in its form with two units.
inline constexpr int kCaseCountOffset = 8;
inline constexpr int kHighestHandledSubtype = kFormatsSubtype;
// The reader remembers which subtypes below this one it has found.
inline constexpr int kExtensionsFoundSize = 100;

// ---- Case codes, one byte for each cell ----

inline constexpr int kCodesPerGroup = 8;
inline constexpr std::uint8_t kCodeNothing = 0;       // no cell: filler at the end of a group
inline constexpr std::uint8_t kCodeEndOfGroup = 252;  // the rest of the group holds no cells
inline constexpr std::uint8_t kCodeLiteral = 253;     // the cell itself follows after the codes
inline constexpr std::uint8_t kCodeBlanks = 254;
inline constexpr std::uint8_t kCodeSystemMissing = 255;
inline constexpr int kCodeBias = 100;  // any other code is the number code - 100

// ---- Very long strings: what a segment of 255 bytes carries ----

inline constexpr int kSegmentType = 255;      // the width of a whole segment as a variable
inline constexpr int kSegmentTextSize = 252;  // bytes of the string charged to it
inline constexpr int kSegmentMaxText = 255;   // bytes that it may hold
inline constexpr int kSegmentSize = 256;      // bytes that it takes in a case

// Returns the cells that a string's segments take in a case of the file. The width is in bytes.
constexpr unsigned long FileCells(unsigned long width) {
  return (width + width / kSegmentTextSize * (kSegmentSize - kSegmentTextSize) + 7) / 8;
}
// Returns the number of segments of such a string.
constexpr int SegmentCount(int width) { return (width + kSegmentTextSize - 1) / kSegmentTextSize; }

// ---- Defaults for what a file says about its writer ----

inline constexpr char kDefaultEyeCatcher[] = "@(#) MOR QUAV TABULATORS 64-bit Linux 25.0.0.1";
inline constexpr std::int32_t kReleaseMajor = 25;
inline constexpr std::int32_t kReleaseMinor = 0;
inline constexpr std::int32_t kReleaseRevision = 1;
inline constexpr std::int32_t kMachineCode = 720;

#endif
