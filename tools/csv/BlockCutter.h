// Cuts a CSV input into blocks that begin and end between two records, as far as that can be seen without parsing.
//
//   BlockCutter cutter(input, firstBytes, dialect, size);
//   while (cutter.Cut(bytes, end)) ...
//   cutter.ThrowFailure();
//
// A block ends after the last line end that is in no quoted field, if quotes are only around fields and doubled inside
// them. Other files have quotes elsewhere; only a reader of the block sees where its last record ends. The caller then gives
// back what it cannot use.
//
// Threads: one thread at a time.

#ifndef TOOLS_CSV_BLOCKCUTTER_H
#define TOOLS_CSV_BLOCKCUTTER_H

#include <cstddef>
#include <exception>
#include <optional>
#include <string>
#include <string_view>

#include "tools/csv/CsvDialect.h"
#include "tools/files/InputBytes.h"

namespace tool {

class BlockCutter {
 public:
  // What comes after a block: another one, the end of the input, or bytes that cannot be read.
  enum class End { block, input, failure };

  // `ahead` are bytes that were already read from the input, which outlives this object. `size` is that of a block, at
  // least 1.
  BlockCutter(InputBytes& input, std::string_view ahead, const CsvDialect& dialect, std::size_t size);

  // Stores the next block, of at least one byte. Returns false when there is none.
  bool Cut(std::string& block, End& end);
  // Throws the failure of the input after which it cannot be read, if there is one.
  void ThrowFailure() const;
  // Puts bytes before those that are not yet cut. The next block has at least `least` bytes, if there are so many.
  void GiveBack(std::string_view bytes, std::size_t least);

 private:
  void Fill(std::size_t size);
  std::size_t EndOfBlock(std::size_t least, std::size_t limit) const;

  InputBytes& m_input;
  std::optional<char> m_quote;
  std::size_t m_size;
  std::size_t m_least = 1;  // of the next block
  std::string m_ahead;      // read, but not yet cut
  bool m_isAtEnd = false;
  std::exception_ptr m_failure;
};

}  // namespace tool

#endif
