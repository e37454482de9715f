// Reads CSV (RFC 4180, or a dialect of it) record by record.
//
//   CsvReader reader(input, dialect);
//   while (reader.Next()) use(reader.Fields());
//
// Lines end in LF, CR LF or CR; the last line may have no end. A quoted field may contain delimiters, line breaks and
// doubled quotes. A byte order mark is skipped. In a field that does not begin with a quote, a quote is an ordinary
// character. An empty line is a record of one empty field, but not at the end of the input: lines there that are empty or
// blank are no records.
//
// When the window ends inside a record, the record is parsed again from its start. That is rare because a window holds
// thousands of records.
//
// A part of an input, such as a block that another thread has read, begins and ends between two records. Its reader is made
// without an input, and its lines are counted from 1:
//
//   CsvReader reader(name, dialect);
//   reader.BeginPart(bytes, CsvReader::PartEnd::record);
//   while (reader.Next()) use(reader.Fields());
//   ... reader.RestOfPart(), reader.LinesOfPart(), reader.BlankLinesAtEnd() ...
//
// The text must be valid UTF-8. Invalid text, a quoted field without its closing quote, and text after a closing quote
// are ToolErrors that name the line.
//
// Threads: one thread at a time.

#ifndef TOOLS_CSV_CSVREADER_H
#define TOOLS_CSV_CSVREADER_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "tools/csv/CsvDialect.h"
#include "tools/files/InputWindow.h"

namespace tool {

class CsvReader {
 public:
  // The input outlives this object and is at its start.
  explicit CsvReader(InputBytes& input, const CsvDialect& dialect = {});

  // A reader of parts of an input with this name, after its header.
  CsvReader(const std::string& name, const CsvDialect& dialect);

  // What comes after a part: another record, or nothing. A part that ends in CR is not followed by LF.
  enum class PartEnd { record, input };
  // Goes to the start of a part, and forgets the one before. The bytes are copied.
  void BeginPart(std::string_view bytes, PartEnd end);

  // Reads the next record. Returns false at the end.
  bool Next();
  // Returns the fields of the record, which are valid until the next call of Next.
  const std::vector<std::string_view>& Fields() const { return *m_record; }
  // From here on, fields that equal one of these texts are empty.
  void SetMissing(const std::vector<std::string>& texts) { m_missing = texts; }
  // Returns the line at which the record begins, counted from 1.
  long long Line() const { return m_line; }
  // Throws LineError with the line of the record.
  [[noreturn]] void Fail(const std::string& text) const;

  // Returns true when there are records that Next returns without reading.
  bool IsHolding() const { return m_isHeld; }
  // Returns the bytes after the record that were read from the input, and what line they begin. Another reader may go on
  // from there, when this one holds no record. They are valid until the next call of Next.
  std::string_view BytesAhead() { return {m_window.Begin() + m_recordSize, m_window.End()}; }
  long long NextLine() const { return m_nextLine; }

  // After the last record of a part:

  // Returns how many bytes of the part are no whole record.
  std::size_t RestOfPart() { return static_cast<std::size_t>(m_window.End() - m_window.Begin()); }
  // Returns how many lines the whole records have.
  long long LinesOfPart() const { return m_nextLine - 1; }
  // Returns the empty and blank lines at the end, which are records when another record follows, and the first of them.
  long long BlankLinesAtEnd() const { return m_blankLines; }
  long long FirstBlankLineAtEnd() const { return m_firstBlankLine; }

 private:
  enum class Found { record, nothing, tooLittle };

  void Begin();
  void SkipByteOrderMark();
  void SkipLine();
  bool ReadRecord();
  bool NextHeld();
  Found Parse();
  bool ParsePlainFields();
  bool TakeField(char*& start, char* end);
  bool SkipLineEnd(char* end);
  bool ParseLastField(const char* start);
  bool ParseQuotedField();
  // Returns null when the window does not contain the quote.
  char* ClosingQuote(char* start);
  void EndRecord();
  void RefuseLongFields() const;
  void RefuseEndlessField(const char* start) const;
  void RefuseLength(std::ptrdiff_t size) const;

  InputWindow m_window;
  std::string m_name;
  char m_delimiter;
  int m_quote;  // no character when there is none
  long long m_skippedLines;
  std::vector<std::string> m_missing;
  std::vector<std::string_view> m_fields;
  const std::vector<std::string_view>* m_record = &m_fields;  // what Fields returns
  std::vector<std::size_t> m_doubled;                         // the fields with doubled quotes
  long long m_line = 0;
  long long m_nextLine = 1;
  long long m_lineBreaks = 0;    // inside the fields of the record
  std::size_t m_recordSize = 0;  // bytes of the present record, including its line break
  long long m_blankLines = 0;    // were read, but are not returned yet
  long long m_firstBlankLine = 0;
  long long m_heldLine = 0;
  bool m_isBlank = false;  // the record is an empty or blank line
  bool m_isHeld = false;   // m_fields has the record after these lines
  bool m_isCut = false;    // the window ends where it does not show the end of the line
  bool m_hasBegun = false;
  bool m_isPart = false;    // there is more input after the window, but not for this reader
  bool m_isAtEnd = false;   // the window reaches to the end of the input
  bool m_endsLine = false;  // the field before m_at is the last of its record
  char* m_at = nullptr;     // the position of the parser in the window
  char* m_end = nullptr;    // the end of the window
};

}  // namespace tool

#endif
