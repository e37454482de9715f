// CSV (RFC 4180), record by record.
//
//   CsvReader reader(input);
//   while (reader.Next()) use(reader.Fields());
//
// Lines end in LF or CR LF, the last one may do without. A field in quotes may hold commas, line breaks and, doubled,
// quotes. A byte order mark is skipped. A quote inside a field that does not begin with one stands for itself. An empty
// line is a record of one empty field.
//
// A record is parsed again from its start when the window turns out to hold too little of it; that is rare, as a window
// holds thousands of them.
//
// The text is valid UTF-8; what is not, a field whose quote never ends and what follows a closing quote are ToolErrors
// that tell the line.
//
// Threads: one thread at a time.

#ifndef TOOLS_CSV_CSVREADER_H
#define TOOLS_CSV_CSVREADER_H

#include <string>
#include <string_view>
#include <vector>

#include "tools/files/InputWindow.h"

namespace tool {

class CsvReader {
 public:
  // The input outlives this object, and stands at its start.
  explicit CsvReader(InputBytes& input) : m_window(input), m_name(input.Name()) {}

  // Reads the next record; false at the end.
  bool Next();
  // They last until the next call.
  const std::vector<std::string_view>& Fields() const { return m_fields; }
  // At which the record begins, from 1.
  long long Line() const { return m_line; }
  // Throws ToolError with the line of the record.
  [[noreturn]] void Fail(const std::string& text) const;

 private:
  enum class Found { record, nothing, tooLittle };

  void SkipByteOrderMark();
  Found Parse();
  bool ParsePlainFields();
  bool TakeField(char*& start, char* end);
  bool ParseLastField(const char* start);
  bool ParseQuotedField();
  // Null when the window holds none.
  char* ClosingQuote(char* start);
  void EndRecord();
  void RefuseEndlessField(const char* start) const;

  InputWindow m_window;
  std::string m_name;
  std::vector<std::string_view> m_fields;
  std::vector<std::size_t> m_doubled;  // the fields that have doubled quotes
  long long m_line = 0;
  long long m_nextLine = 1;
  long long m_lineBreaks = 0;    // inside the fields of the record
  std::size_t m_recordSize = 0;  // of the present record, its line break included
  bool m_hasBegun = false;
  bool m_isAtEnd = false;   // the window reaches to the end of the input
  bool m_endsLine = false;  // the field before m_at is the last of its record
  char* m_at = nullptr;     // where parsing stands in the window
  char* m_end = nullptr;    // of the window
};

}  // namespace tool

#endif
