/* The library for C, and for every language that calls C: opens a system file, gives its dictionary as JSON and its
 * cases as an Arrow stream, and makes system files of Arrow streams.
 *
 *   datasrc_file* file;
 *   if (datasrc_open("survey.quav", NULL, 0, &file) != 0) ...      datasrc_error_text() says why
 *   datasrc_scan_options options = DATASRC_SCAN_OPTIONS_INIT;
 *   struct ArrowArrayStream stream;
 *   if (datasrc_scan(file, &options, &stream) != 0) ...
 *   datasrc_close(file);                                            the stream keeps what it needs
 *   ...                                                             stream.get_next(&stream, &batch)
 *   stream.release(&stream);
 *
 * All text is UTF-8, ended by a NUL; paths are the bytes that the system has for them. Errors and notes that repeat other
 * bytes have U+FFFD for them. No function ends the process or throws, whatever a file contains. A pointer that
 * must not be null, and is, is an error, too.
 *
 * Options have their size, as the caller knows it. A reserved member, and every flag that is not listed, is 0.
 *
 * A function that can fail returns 0 when it succeeded. Otherwise it returns one of the numbers below, keeps the details
 * for its thread, and stores null (a released stream) into its result. The operations of a stream report their errors
 * by themselves (get_last_error), as the Arrow C stream interface asks.
 *
 * Threads: any function on any thread at any time. Different threads may use one file; whoever closes it is the last to
 * use it. A stream belongs to one thread at a time and may be released on any. The first call of datasrc_open puts the
 * text of the process into UTF-8 for good (SetUTF8mode in QUAVMB.h); and opening a file in another encoding changes the
 * process's encoding for a moment. The functions here wait for that; code that uses the C++ interface on another
 * thread at the same time does not.
 *
 * C99 and C++. The symbols have the version DATASRC_C_1.
 */

#ifndef DATASRC_C_API_H
#define DATASRC_C_API_H

#include <stddef.h>
#include <stdint.h>

#include "Platform/Export.h"
#include "datasrc/ArrowAbi.h"

#ifdef __cplusplus
extern "C" {
#endif

/* What a function returns when it failed. */
enum {
  DATASRC_ERROR_CATALOG = 1,  /* an error of the message catalog: datasrc_error_number() has its number */
  DATASRC_ERROR_ARGUMENT = 2, /* the call is wrong: a null pointer, a name that is no variable */
  DATASRC_ERROR_MEMORY = 3,   /* out of memory */
  DATASRC_ERROR_OTHER = 4,    /* any other failure, without a number */
  DATASRC_ERROR_SPLIT = 5,    /* the token of a split is damaged, or its file has changed */
  DATASRC_ERROR_DATA = 6      /* a stream has what no system file can hold, or failed; the text names column and row */
};

/* ---- Errors ----
 *
 * These describe the last call that failed on this thread. The texts are valid until the next call on this thread that
 * can fail; they are never null, and empty when there is nothing to say.
 */

/* The number in the message catalog, 0 without one. */
DATASRC_API int datasrc_error_number(void);
/* What is wrong, without the name of the file. */
DATASRC_API const char* datasrc_error_text(void);
/* The file that the error concerns. */
DATASRC_API const char* datasrc_error_file(void);
/* Where in the file the dictionary is wrong, for example "record 7/13, byte 1234". */
DATASRC_API const char* datasrc_error_place(void);

/* The version of the library, for example "0.1.0". The text lives as long as the program. */
DATASRC_API const char* datasrc_version(void);

/* ---- Files ---- */

typedef struct datasrc_file datasrc_file;

enum {
  /* Leaves names, widths and labels in the file's own encoding, as they are stored; the dictionary and the stream are
   * UTF-8 all the same. Without it a file in another encoding is shown in UTF-8, with its strings three times as wide. */
  DATASRC_OPEN_AS_STORED = 1
};

/* Opens a file and reads its dictionary. `password` is null for a file that is not encrypted; `flags` is 0 or
 * DATASRC_OPEN_AS_STORED. The caller closes the file. */
DATASRC_API int datasrc_open(const char* path, const char* password, uint32_t flags, datasrc_file** file);

typedef struct datasrc_open_options {
  size_t size;          /* of this struct, as the caller knows it */
  const char* password; /* null for a file that is not encrypted */
  const char* encoding; /* the name of the encoding of the file's text; null or empty for what the file states */
  uint32_t flags;       /* 0 or DATASRC_OPEN_AS_STORED */
  uint32_t reserved;    /* 0 */
} datasrc_open_options;

#define DATASRC_OPEN_OPTIONS_INIT \
  { sizeof(datasrc_open_options), NULL, NULL, 0, 0 }

/* Does the same with options; null ones are those of DATASRC_OPEN_OPTIONS_INIT. `encoding` is for a file that states a
 * wrong encoding, or none: by any name that ICU knows for a code page, such as "windows-1252". Then the text of the
 * dictionary, of the streams and of the splits is taken to be in it. DATASRC_ERROR_ARGUMENT says that no file can have it,
 * with the name in the text. */
DATASRC_API int datasrc_open_with(const char* path, const datasrc_open_options* options, datasrc_file** file);
/* Closes a file; null is none. Streams of the file stay usable. */
DATASRC_API void datasrc_close(datasrc_file* file);

/* Makes the text that `datasrc info --json` prints: one JSON object (docs/columns.md). The caller frees it by
 * datasrc_free. */
DATASRC_API int datasrc_dictionary(const datasrc_file* file, char** json);
/* Frees a text of the library; null is none. */
DATASRC_API void datasrc_free(char* text);

/* ---- Cases ---- */

enum {
  DATASRC_SCAN_TYPED_DATES = 1,         /* dates and times as Arrow types; a value that does not fit ends the stream */
  DATASRC_SCAN_LABELS = 2,              /* columns with value labels as dictionaries of their labels */
  DATASRC_SCAN_USER_MISSING_AS_NULL = 4 /* without it, user-missing values stay values */
};

typedef struct datasrc_scan_options {
  size_t size;                /* of this struct, as the caller knows it */
  const char* const* columns; /* names of variables in the order of the stream; null for all. Case does not count */
  size_t column_count;        /* how many names; none gives batches that have rows only */
  int64_t first_row;          /* from 0 */
  int64_t row_count;          /* at most so many rows; -1 for all */
  int32_t rows_per_batch;     /* 0 for as many as suit the width of a case */
  uint32_t flags;             /* any of DATASRC_SCAN_... */
  /* Callers that were built before these existed give a size that ends here. */
  int32_t threads;  /* how many threads decode (datasrc/ColumnReader.h); 0 and 1 for the calling one alone */
  int32_t reserved; /* 0 */
} datasrc_scan_options;

#define DATASRC_SCAN_OPTIONS_INIT \
  { sizeof(datasrc_scan_options), NULL, 0, 0, -1, 0, 0, 0, 0 }

/* Makes a stream of the file's cases; null options are those of DATASRC_SCAN_OPTIONS_INIT. A file may have any number of
 * streams. The caller releases the stream. docs/columns.md describes its types and metadata. */
DATASRC_API int datasrc_scan(const datasrc_file* file, const datasrc_scan_options* options,
                             struct ArrowArrayStream* stream);

/* ---- Writing ----
 *
 * These functions take the stream: they release it, also when they fail. ArrowImport.h says which variable each Arrow type
 * becomes, and which values are refused. `rows` gets the number of rows, and `notes` what the caller should know, for
 * example that the times of a zone were stored in UTC: a text in plain English with a note on each line, which the
 * caller frees by datasrc_free; null when there was no memory for it. Both pointers may be null.
 */

enum {
  DATASRC_WRITE_ROUND_TIMES = 1, /* stores the nearest number of a time that no number is; otherwise it is an error */
  DATASRC_WRITE_NO_SYNC = 2      /* does not wait until the file is on the disk */
};

typedef struct datasrc_write_options {
  size_t size;            /* of this struct, as the caller knows it */
  const char* dictionary; /* JSON as datasrc_dictionary makes it, any member of which may be omitted; null for none */
  const char* password;   /* encrypts the file; null for none */
  int32_t compression;    /* 0 none, 1 byte codes, 2 zlib */
  uint32_t flags;         /* any of DATASRC_WRITE_... */
} datasrc_write_options;

#define DATASRC_WRITE_OPTIONS_INIT \
  { sizeof(datasrc_write_options), NULL, NULL, 1, 0 }

/* Makes a system file of a stream, in UTF-8; null options are those of DATASRC_WRITE_OPTIONS_INIT. The file gets its name
 * when it is complete. After a failure an old file of that name is as it was. */
DATASRC_API int datasrc_write(struct ArrowArrayStream* stream, const char* path, const datasrc_write_options* options,
                              int64_t* rows, char** notes);
/* Adds the rows of a stream to a system file. The stream has a column for each variable, in any order. Nothing is added
 * unless all rows fit. `password` is null for a file that is not encrypted; `flags` is 0 or DATASRC_WRITE_ROUND_TIMES. */
DATASRC_API int datasrc_append(struct ArrowArrayStream* stream, const char* path, const char* password, uint32_t flags,
                               int64_t* rows, char** notes);

typedef struct datasrc_append_options {
  size_t size;          /* of this struct, as the caller knows it */
  const char* password; /* null for a file that is not encrypted */
  const char* encoding; /* of the file's text, as in datasrc_open_options; the new text is stored in it */
  uint32_t flags;       /* 0 or DATASRC_WRITE_ROUND_TIMES */
  uint32_t reserved;    /* 0 */
} datasrc_append_options;

#define DATASRC_APPEND_OPTIONS_INIT \
  { sizeof(datasrc_append_options), NULL, NULL, 0, 0 }

/* Does the same with options; null ones are those of DATASRC_APPEND_OPTIONS_INIT. */
DATASRC_API int datasrc_append_with(struct ArrowArrayStream* stream, const char* path,
                                    const datasrc_append_options* options, int64_t* rows, char** notes);

/* ---- Splits ----
 *
 * Stretches of a file that take about the same work, for other processes and other machines. Each is described by a token,
 * a line of printable ASCII that needs no quoting in a shell or in JSON. A token has the path of the file and the encoding
 * of its text, but no password.
 * datasrc/Splits.h says what is promised of them.
 */

/* Makes the tokens of at most `count` splits, from 1 to 65,536, in the order of their rows: a line for each, each ended by
 * a line feed. There is at least one, and there are fewer than `count` where the file has few cases. Walks over the cases
 * of a compressed file once. The caller frees the text by datasrc_free. DATASRC_ERROR_SPLIT says that the file has changed
 * since it was opened. */
DATASRC_API int datasrc_splits(const datasrc_file* file, int32_t count, char** tokens);

/* Opens the file of a token, and makes a stream of the cases of the split. A line feed after the token is allowed.
 * `password` is null for a file that is not encrypted. `path` is null, or says where the file is on this machine. In the
 * options first_row and row_count count from the first row of the split. The streams of all splits, one after the other,
 * have the cases of the stream of the file, and the same schema. The caller releases the stream. */
DATASRC_API int datasrc_scan_split(const char* token, const char* password, const char* path,
                                   const datasrc_scan_options* options, struct ArrowArrayStream* stream);

#ifdef __cplusplus
}
#endif

#endif
