// Stretches of a system file that are read on their own: by other threads, other processes, other machines.
//
//   for (const std::string& token : MakeSplits(source, 16)) ...        hand each to a worker, which does this:
//
//   const Split split = OpenSplit(token);
//   ColumnReader reader(*split.source, split.InSource({.columns = {{0, 3}}}));
//   while (const auto batch = reader.Next()) use(batch);
//
// A token is a line of printable ASCII without blanks, quotes or backslashes, so it needs no quoting in a shell or in
// JSON. It has the file's path, size and time of the last change, a checksum of the dictionary and of the last bytes, the
// encoding of the text, the rows, and where they begin. It contains no password. Tokens are not secret, and they are not
// signed: a token opens whatever file it names, with the rights of the process.
//
// Promised:
//
//   - The batches of all splits, in the order of the tokens, have the rows of the whole file, each of them once. Batches
//     begin anew with each split. A fault of the file is met by the reader of the split that has the row; the last split
//     goes on to the end of the data, whatever its token says.
//   - All splits take about the same work, counted in bytes of the file and of the cases. None is empty, except the only
//     one of a file without cases. There are fewer than asked for where the file has few cases.
//   - OpenSplit reads the dictionary, and its readers begin at the first row of the split: no walk from the start. Only an
//     encrypted file is decrypted as a whole. In zlib blocks a reader inflates the blocks of its split and no others.
//   - A file that is not the same any more gives a SplitError. It is the same if size, time and checksum are: a copy that
//     keeps the time of the last change is as good as the file.
//
// What MakeSplits costs depends on the cases:
//
//   not compressed   nothing: positions are calculated
//   byte codes       one pass over the groups of codes, without decoding their cells
//   zlib blocks      the same, and inflating every block, since the table of the blocks does not say which rows they
//                    have. Splits of many blocks begin with a block
//
// Threads: MakeSplits as an iterator of the source. OpenSplit opens a file: while it does so for one in another encoding,
// no other thread may work with text (SystemFileDataSource.h). A Split is a value.

#ifndef DATASRC_SPLITS_H
#define DATASRC_SPLITS_H

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Platform/Export.h"
#include "Platform/stream/ExtNameStr.h"
#include "datasrc/ColumnReader.h"
#include "datasrc/QUAV_DataSource.h"

inline constexpr int kMostSplits = 65536;

// A token that is damaged or of another version, or a file that its tokens do not fit.
class DATASRC_API SplitError : public std::runtime_error {
 public:
  explicit SplitError(const std::string& text);
  ~SplitError() override;
};

// Makes at most `count` tokens of a file; at least one. The source is a SystemFileDataSource or a view of it in another
// encoding, as GetSystemFile returns it. The path becomes absolute. Asserts that `count` is from 1 to kMostSplits, and the
// kind of the source. Throws what MakeIterator throws, and SplitError when the file has changed since it was opened. Data
// that end too soon, or are damaged, are no failure here.
DATASRC_API std::vector<std::string> MakeSplits(const QUAV_DataSource& source, int count);

struct SplitOpening {
  // Empty for a file that is not encrypted.
  ExtNameStr password = {};
  // Where the file is on this machine; empty for the path of the token.
  ExtNameStr file = {};
};

struct DATASRC_API Split {
  // The whole file, as MakeSplits was given it: in the process's present encoding or, when its source was one in another
  // encoding without a view, as it is stored. Its text counts as being in the encoding that that source had.
  std::shared_ptr<const QUAV_DataSource> source;
  // The rows of the split in the file. The last split may have more, or fewer, when its data end with a fault.
  long long firstRow = 0;
  long long rows = 0;
  bool isLast = false;

  // Returns the options for a reader of `source`. In `options` rows count from the first row of the split; no rows after
  // its last one are read. Asserts that the numbers of rows are not negative.
  ColumnReaderOptions InSource(ColumnReaderOptions options) const;
};

// Opens the file of a token. Throws SplitError for a token that is not as MakeSplits made it, for one with an encoding
// that no code page has here, and when the file is not the same; and what opening a file throws (SystemFileDataSource.h): a
// record that would end the process is error 1204, and a path that is not a regular file 1201.
DATASRC_API Split OpenSplit(const std::string& token, const SplitOpening& opening = {});

#endif
