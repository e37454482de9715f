// Rows of fields under titles, aligned.
//
//   TextTable table({{"name"}, {"cases", TextTable::kRight}});
//   table.Fit(row);             for each row that is known: columns widen to what it needs
//   table.AppendHead(out);
//   table.AppendRow(out, row);  a field that is wider than its column is cut at the right, a number never
//
// Fields are text from OneLine.
//
// Threads: one thread at a time.

#ifndef TOOLS_TEXT_TEXTTABLE_H
#define TOOLS_TEXT_TEXTTABLE_H

#include <string>
#include <vector>

namespace tool {

class TextTable {
 public:
  enum Alignment { kLeft, kRight };

  struct Column {
    std::string title;
    Alignment alignment = kLeft;  // kRight also says that the field must not be cut
    std::size_t width = 0;        // in terminal columns
  };
  using Row = std::vector<std::string>;

  // No text makes its column wider than this.
  static constexpr std::size_t kWidestText = 40;

  // Rows have as many fields as there are columns.
  explicit TextTable(std::vector<Column> columns);

  void Fit(const Row& row);
  void AppendHead(std::string& out) const;
  void AppendRow(std::string& out, const Row& row) const;

 private:
  void Fit(Column& column, const std::string& field) const;

  std::vector<Column> m_columns;
};

}  // namespace tool

#endif
