// Text in the process's present encoding: case, comparison, multi-byte characters, fixed fields, code pages.
//
// The present encoding is UTF-8 while the UTF-8 mode is on. Otherwise it is the encoding of the present converter, if
// one is set, and otherwise the process's default code page. The locale of the environment gives that code page at
// its first use (UTF-8 when it names none, and in the "C" locale). The process's own locale is neither read nor set.
//
// A code page is an encoding that ICU knows by some name, whose text can be read from any character on and ends with
// a zero byte: UTF-8, the code pages with one byte a character, and those with several bytes and no shift sequences.
// UTF-16 is not one. Names are compared as ICU does: only letters and digits count, without regard to case.
//
// Text is bytes. A length is in bytes; where a length is a signed number, -1 means "up to the terminator". Bytes that
// form no character of the encoding stand for themselves: no operation fails because of them. Bytes at the end of a
// text that only begin a character are a truncated character. Plain ASCII text takes a short path through every
// operation, and code pages with one byte a character use tables; only the rest needs ICU.
//
// No function throws, except std::bad_alloc.
//
// Threads: the present encoding is a process-wide setting without a lock: change it while no other thread uses text.
// Everything else may run on several threads at once; one thread at a time uses a converter.

#ifndef PLATFORM_TEXT_QUAVMB_H
#define PLATFORM_TEXT_QUAVMB_H

#include <cstddef>
#include <memory>
#include <string>

#include "Platform/Export.h"

// ---- The present encoding ----

// Returns 1 when the UTF-8 mode is on, else 0. It is off at first.
DATASRC_API int qUTF8mode();
DATASRC_API void SetUTF8mode(int on);

// Returns the name of the process's default code page, as it was set. The pointer is valid until the next change.
DATASRC_API const char* QUAVMBDefaultCodePage();
// Sets it; the empty name restores the locale's. Returns false, and changes nothing, when no code page has the name.
DATASRC_API bool QUAVMBDefaultCodePageSet_A(const char* name);

// The room in bytes for the name of a code page and its terminator.
inline constexpr int kCodePageNameSize = 64;

// Writes the present converter's name (empty when none is set) into `buffer` of kCodePageNameSize bytes and returns
// `buffer`. The first argument is 0.
DATASRC_API char* QUAVMBConverterName_A(int, char* buffer);
// Sets the present converter by any name of the code page; the empty name removes it. Returns nonzero on success; 0,
// and changes nothing, when no code page has the name.
DATASRC_API int QUAVMBConverterSet_A(const char* name);

// ---- Code pages by name and number ----

inline constexpr char kUtf8Name[] = "UTF-8";

// Writes the name of the code page with this number (65001 is UTF-8, 1252 windows-1252) into `buffer` of
// kCodePageNameSize bytes. Returns nonzero on success; 0, and writes an empty name, when the number is unknown. The
// numbers 1 to 4, which files use for "some EBCDIC", "7-bit ASCII", "8-bit ASCII" and the like, name no code page:
// the caller then takes the default.
DATASRC_API int QUAVMBCpNameFromNum_A(char* buffer, int number);
// Stores the number of the code page with this name. Returns nonzero on success; 0, and leaves `*number` unchanged,
// when the name has no number.
DATASRC_API int QUAVMBCpNameToNum_A(const char* name, int* number);
// Returns whether two names denote the same encoding, as "UTF8" and "utf-8" do. An unknown name equals only itself,
// without regard to case.
DATASRC_API bool QUAVMBqSameCodePage(const char* a, const char* b);

// ---- Characters ----

// Returns the length in bytes of the character at `p`, where `avail` bytes may be read; 0 at a terminator or when
// `avail` is 0, -1 when there is no whole valid character. In UTF-8 the shortest forms of the code points up to
// U+10FFFF are valid, without the surrogates; in a code page, the bytes of its characters.
DATASRC_API int QUAVMBmblen_A(const char* p, int avail);
// Returns the length of the longest beginning of `text` that has at most `size` bytes and does not end inside a
// character. Bytes that form no character may be cut anywhere. A truncated character at the end of the text is left
// out, too.
DATASRC_API int QUAVMBWholeCharacters_A(const char* text, int length, int size);
// Truncates the terminated text in this way, and returns its length.
DATASRC_API int QUAVMBStringTruncate_A(char* text, int size);
// Returns the last place in the terminated text where the ASCII character is a whole character, or null.
DATASRC_API const char* QUAVMBstrrchr_A(const char* text, int character);

// ---- Case ----

// Case forms do not depend on a language: i becomes I everywhere. In UTF-8 a form may be longer than its text, as for
// the sharp s. In a code page, a character stays unchanged when the code page lacks its form or has it only as
// several characters.

// Write the upper- or lower-case form of `source` into `dest`, whole characters up to `destSize` bytes, and return the
// length written. A terminator follows only when there is room for it. `*outFlags` becomes 1 when the form did not fit,
// else 0; `outFlags` may be null. `dest` may be `source`.
DATASRC_API int QUAVMBMvUpper_A(char* dest, int destSize, const char* source, int sourceLength, int* outFlags);
DATASRC_API int QUAVMBMvLower_A(char* dest, int destSize, const char* source, int sourceLength, int* outFlags);
// Return the upper- or lower-case form of a whole text.
DATASRC_API std::string QUAVMBstrupr_A(const std::string& text);
DATASRC_API std::string QUAVMBstrlwr_A(const std::string& text);

// ---- Comparison ----

// Returns nonzero when the texts are equal without regard to case: when their upper-case forms are equal. `flags` is 0.
DATASRC_API int QUAVMBqstricmp_A(const char* a, int lengthA, const char* b, int lengthB, int flags);
// Compares the bytes of the upper-case forms of the terminated texts. Returns a number below, at or above 0; 0 means
// equal without regard to case.
DATASRC_API int QUAVMBstricmp_A(const char* a, const char* b);
// Compares `length` bytes of each text, with a QUAVMBCollator that the first call makes. Returns a number below, at
// or above 0.
DATASRC_API int QUAVMBstrncoll_A(const char* a, const char* b, int length);

// A collation of text in the present encoding, by the environment's locale for it (LC_ALL, LC_COLLATE, LANG; ICU's
// language-independent order when they name none, or "C"). After Init, several threads may use one object.
class DATASRC_API QUAVMBCollator {
 public:
  QUAVMBCollator();
  ~QUAVMBCollator();
  QUAVMBCollator(const QUAVMBCollator&) = delete;
  QUAVMBCollator& operator=(const QUAVMBCollator&) = delete;
  // Makes the collation for the locale of the environment at this moment. It may be called again; Compare calls it if
  // it was never called.
  void Init();
  // Returns a number below, at or above 0. When the collation finds two texts equal, their bytes decide.
  int Compare(const char* a, int lengthA, const char* b, int lengthB) const;

 private:
  struct DATASRC_LOCAL Data;
  std::unique_ptr<Data> m_data;
};

// ---- Fixed fields ----

// Copies the text into the field of `destSize` bytes and fills the rest with blanks (byte 32). A text that is too
// long is truncated as by QUAVMBWholeCharacters_A, so the field never holds a part of a character, even when the
// caller truncated the text inside one. Returns the length copied. The text may overlap the field. Does nothing when
// `destSize` is 0 or negative.
DATASRC_API int QUAVMBCopyToFixed_A(void* dest, int destSize, const void* source, int sourceLength);

// ---- Conversion ----

// A converter between UTF-8 and a code page, made by the name of the code page; null when no code page has the name.
// The caller deletes it. It does not depend on the present encoding.
struct QUAVMBConverter;
DATASRC_API QUAVMBConverter* QUAVMBConverterNew_A(const char* name);
DATASRC_API void QUAVMBConverterDelete_A(QUAVMBConverter* converter);

// A converter that deletes itself.
struct QUAVMBConverterDeleter {
  void operator()(QUAVMBConverter* converter) const { QUAVMBConverterDelete_A(converter); }
};
using QUAVMBConverterPtr = std::unique_ptr<QUAVMBConverter, QUAVMBConverterDeleter>;

// Returns whether printable ASCII text has the same bytes in the code page as in UTF-8: a caller may then copy it.
DATASRC_API bool QUAVMBConverterKeepsAscii(const QUAVMBConverter* converter);

// Convert a whole text. They return nonzero when anything was not converted exactly. A character that the target
// lacks becomes the target's substitute; bytes that form no character become the replacement character (in UTF-8) or
// the substitute. `output` may be `input`.
DATASRC_API int QUAVMBU8ToCodePage(QUAVMBConverter* converter, std::string& output, const std::string& input);
DATASRC_API int QUAVMBCodePageToU8(QUAVMBConverter* converter, std::string& output, const std::string& input);
// Convert a field: they write whole characters, at most `capacity` bytes, and return the number of bytes written.
// `*lost` becomes 1 when anything was not converted exactly or did not fit, else 0; `lost` may be null. The fields
// may overlap.
DATASRC_API int QUAVMB8toCodePage(QUAVMBConverter* converter, char* output, int capacity, const char* input, int length,
                                  int* lost);
DATASRC_API int QUAVMBCodePageto8(QUAVMBConverter* converter, char* output, int capacity, const char* input, int length,
                                  int* lost);

#endif
