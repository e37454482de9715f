// Text in the process's present encoding: case, comparison, characters of several bytes, fixed fields, code pages.
//
// The present encoding is UTF-8 while the UTF-8 mode is on; else that of the present converter, when one is set; else
// the process's default code page, which the environment's locale names at first use (UTF-8 when it names none, and in
// the "C" locale). The process's own locale is neither read nor set.
//
// A code page is an encoding that ICU knows by some name, in which text can be read from any character on and ends with
// a zero byte: UTF-8, the code pages of one byte a character, and those of several without shift sequences. Not UTF-16.
// Names are compared as ICU does: by letters and digits, without regard to case.
//
// Text is bytes. A length is in bytes; -1 stands for "up to the terminator" wherever a length is a signed number.
// Bytes that form no character of the encoding stand for themselves: no operation fails on them. Bytes at the end of a
// text that only begin a character are a character cut short. Plain ASCII text takes a short way through every
// operation, and code pages of one byte a character go by tables; only the rest goes to ICU.
//
// Nothing here throws, but for want of memory (std::bad_alloc).
//
// Threads: the present encoding is a process-wide setting with no lock: it is changed while no other thread uses text.
// Everything else may run on several threads at once; a converter is used by one thread at a time.

#ifndef PLATFORM_TEXT_QUAVMB_H
#define PLATFORM_TEXT_QUAVMB_H

#include <cstddef>
#include <memory>
#include <string>

#include "Platform/Export.h"

// ---- The present encoding ----

// Whether the UTF-8 mode is on. It is off at first.
DATASRC_API int qUTF8mode();
DATASRC_API void SetUTF8mode(int on);

// The name of the process's default code page, as it was set. The pointer stays good until the next change.
DATASRC_API const char* QUAVMBDefaultCodePage();
// Sets it; the empty name brings the locale's back. False, and nothing changes, when no code page has the name.
DATASRC_API bool QUAVMBDefaultCodePageSet_A(const char* name);

// Room for the name of a code page and its terminator, in bytes.
inline constexpr int kCodePageNameSize = 64;

// Writes the present converter's name, empty for none, into `buffer` of kCodePageNameSize bytes and answers `buffer`.
// The first argument is 0.
DATASRC_API char* QUAVMBConverterName_A(int, char* buffer);
// Sets the present converter, by whatever name of the code page; the empty name takes it away. Nonzero on success; 0,
// and nothing changes, when no code page has the name.
DATASRC_API int QUAVMBConverterSet_A(const char* name);

// ---- Code pages by name and number ----

inline constexpr char kUtf8Name[] = "UTF-8";

// Writes the name of the code page with the number (65001 is UTF-8, 1252 windows-1252) into `buffer` of
// kCodePageNameSize bytes. Nonzero on success; 0, and an empty name, when no code page is known by the number. The
// numbers 1 to 4, which files carry for "some EBCDIC", "7-bit ASCII", "8-bit ASCII" and the like, name none: the caller
// then takes the default.
DATASRC_API int QUAVMBCpNameFromNum_A(char* buffer, int number);
// The number of the code page with the name. Nonzero on success; 0, and the number as it was, when it has none.
DATASRC_API int QUAVMBCpNameToNum_A(const char* name, int* number);
// Whether two names denote one encoding, as "UTF8" and "utf-8" do. A name that is not known equals only itself, case
// apart.
DATASRC_API bool QUAVMBqSameCodePage(const char* a, const char* b);

// ---- Characters ----

// The length in bytes of the character at `p`, of which `avail` bytes may be looked at; 0 at a terminator or with
// nothing to look at, -1 when no whole valid character stands there. Valid in UTF-8 are the shortest forms of the code
// points up to U+10FFFF, without the surrogates; in a code page, what it has a character for.
DATASRC_API int QUAVMBmblen_A(const char* p, int avail);
// The length of the longest beginning of `text` that has at most `size` bytes and ends with a whole character (or with
// bytes that form none). A character that the end of the text cuts short is left out, too.
DATASRC_API int QUAVMBWholeCharacters_A(const char* text, int length, int size);
// Cuts the terminated text so, and answers its length.
DATASRC_API int QUAVMBStringTruncate_A(char* text, int size);
// The last place of an ASCII character in the terminated text that is a character of its own, or null.
DATASRC_API const char* QUAVMBstrrchr_A(const char* text, int character);

// ---- Case ----

// Case forms follow no language: i becomes I everywhere. In UTF-8 a form may be longer than its text, as that of the
// sharp s; in a code page, a character whose form the code page lacks, or has as several characters only, stays as it
// is.

// Write the upper- or lower-case form of `source` into `dest`, whole characters up to `destSize` bytes and no
// terminator (there is one when room is left for it), and answer the length written. The last argument, when it is not
// null, receives 1 if the form did not fit and 0 if it did. `dest` may be `source`.
DATASRC_API int QUAVMBMvUpper_A(char* dest, int destSize, const char* source, int sourceLength, int* outFlags);
DATASRC_API int QUAVMBMvLower_A(char* dest, int destSize, const char* source, int sourceLength, int* outFlags);
// The upper- or lower-case form of a whole text.
DATASRC_API std::string QUAVMBstrupr_A(const std::string& text);
DATASRC_API std::string QUAVMBstrlwr_A(const std::string& text);

// ---- Comparison ----

// Nonzero when the texts are equal without regard to case, which is when their upper-case forms are. `flags` is 0.
DATASRC_API int QUAVMBqstricmp_A(const char* a, int lengthA, const char* b, int lengthB, int flags);
// Below, at or above 0: the order of the terminated texts by the bytes of their upper-case forms. 0 when equal without
// regard to case.
DATASRC_API int QUAVMBstricmp_A(const char* a, const char* b);
// Below, at or above 0: the order of `length` bytes of each text, as a QUAVMBCollator has it that is made at the first
// such call.
DATASRC_API int QUAVMBstrncoll_A(const char* a, const char* b, int length);

// A collation of text in the present encoding, by the locale that the environment names for it (LC_ALL, LC_COLLATE,
// LANG; ICU's order for no language when they name none, or "C"). One object may be used by several threads once Init
// has run.
class DATASRC_API QUAVMBCollator {
 public:
  QUAVMBCollator();
  ~QUAVMBCollator();
  QUAVMBCollator(const QUAVMBCollator&) = delete;
  QUAVMBCollator& operator=(const QUAVMBCollator&) = delete;
  // Makes the collation of the locale as it is now. It may run again; Compare runs it when nobody has.
  void Init();
  // Below, at or above 0. Texts that the collation finds equal are equal only when their bytes are (bytes decide then).
  int Compare(const char* a, int lengthA, const char* b, int lengthB) const;

 private:
  struct DATASRC_LOCAL Data;
  std::unique_ptr<Data> m_data;
};

// ---- Fixed fields ----

// Copies the text into the field of `destSize` bytes and fills the rest with blanks (byte 32). A text that is too long
// is cut as QUAVMBWholeCharacters_A tells, so that the field never holds a part of a character, not even when the
// caller cut the text inside one. Answers the length copied. The text may overlap the field. A field of no or negative
// size stays.
DATASRC_API int QUAVMBCopyToFixed_A(void* dest, int destSize, const void* source, int sourceLength);

// ---- Conversion ----

// A converter between UTF-8 and a code page, made by the code page's name; null when no code page has it. The caller
// deletes it. It does not look at the present encoding.
struct QUAVMBConverter;
DATASRC_API QUAVMBConverter* QUAVMBConverterNew_A(const char* name);
DATASRC_API void QUAVMBConverterDelete_A(QUAVMBConverter* converter);

// One that deletes itself.
struct QUAVMBConverterDeleter {
  void operator()(QUAVMBConverter* converter) const { QUAVMBConverterDelete_A(converter); }
};
using QUAVMBConverterPtr = std::unique_ptr<QUAVMBConverter, QUAVMBConverterDeleter>;

// Whether printable ASCII text is the same bytes in the code page as in UTF-8: a caller may copy it as it stands.
DATASRC_API bool QUAVMBConverterKeepsAscii(const QUAVMBConverter* converter);

// Convert a whole text. Nonzero when anything could not be converted exactly: a character that the target lacks becomes
// its substitute, bytes that are no character the replacement character (UTF-8) or the substitute. `output` may be
// `input`.
DATASRC_API int QUAVMBU8ToCodePage(QUAVMBConverter* converter, std::string& output, const std::string& input);
DATASRC_API int QUAVMBCodePageToU8(QUAVMBConverter* converter, std::string& output, const std::string& input);
// The same on a field: write whole characters, at most `capacity` bytes, and answer the count written. `*lost` receives
// 1 when anything could not be converted exactly or did not fit, else 0; it may be null. The fields may overlap.
DATASRC_API int QUAVMB8toCodePage(QUAVMBConverter* converter, char* output, int capacity, const char* input, int length,
                                  int* lost);
DATASRC_API int QUAVMBCodePageto8(QUAVMBConverter* converter, char* output, int capacity, const char* input, int length,
                                  int* lost);

#endif
