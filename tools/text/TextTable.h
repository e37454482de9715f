// Prints rows of fields in aligned columns with titles.
//
//   TextTable table({{"name"}, {"cases", TextTable::kRight}});
//   table.Fit(row);             for each known row: widens the columns as the row needs
//   table.Narrow(columns);      where a row should fit into so many
//   table.AppendHead(out);
//   table.AppendRow(out, row);  cuts a text at the right when it is wider than its column, but never a number
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
    Alignment alignment = kLeft;  // kRight also means that a field must not be cut
    std::size_t width = 0;        // in terminal columns
  };
  using Row = std::vector<std::string>;

  // A text never makes its column wider than this.
  static constexpr std::size_t kWidestText = 40;
  // Narrow leaves a text that many columns, or its title.
  static constexpr std::size_t kLeastText = 8;

  // Every row has as many fields as there are columns.
  explicit TextTable(std::vector<Column> columns);

  void Fit(const Row& row);
  // Narrows the widest texts until a row takes at most `width` columns of the terminal, but no text below kLeastText. Does
  // nothing when a row would be wider even so.
  void Narrow(std::size_t width);
  void AppendHead(std::string& out) const;
  void AppendRow(std::string& out, const Row& row) const;

 private:
  void Fit(Column& column, const std::string& field) const;

  std::vector<Column> m_columns;
};

}  // namespace tool

#endif
