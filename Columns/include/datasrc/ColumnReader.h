// Reads a data set in batches of columns.
//
//   ColumnReader reader(source, {.columns = {{0, 3}}});
//   while (const auto batch = reader.Next()) use(batch->columns[0].numbers, batch->rows);
//
// The source is any data source: a system file, a view, a projection, a store of cases. A system file is decoded
// straight into columns, many cases at a time, and where few columns are chosen, the cells of the others are not decoded.
// The cases of any other source come from its iterator. The observers of the source are called in both cases.
//
// A batch keeps its buffers for as long as it is held, also after the reader has gone. Buffers of a batch that was
// dropped are used again for a later one: fresh memory costs several times a copy.
//
// With `threads` above one, stretches of a system file are decoded side by side, and the batches come in order: they are
// those of one thread, and so is a fault. The thread that calls Next is one of them: instead of waiting for a batch, it
// fills a later one. The others start with the first Next, and end with the reader. They hold at most two batches for each
// thread, and the bytes of the file that belong to one more. For zlib blocks there are as many threads again, up to 16,
// which inflate. One thread reads sources other than system files, views of them in another encoding among these.
//
// Threads: one thread at a time for each reader. Readers of one source may be on different threads where its iterators
// may. A batch may be dropped on any thread.

#ifndef DATASRC_COLUMNREADER_H
#define DATASRC_COLUMNREADER_H

#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Export.h"
#include "datasrc/ColumnBatch.h"
#include "datasrc/QUAV_DataSource.h"

inline constexpr int kMostColumnThreads = 64;

struct ColumnReaderOptions {
  // The columns of the source, in the order of the batch; a column may come more than once. All columns by default.
  std::optional<std::vector<int>> columns = {};
  // The rows from `firstRow` on, at most `rows`; fewer when the data set ends before.
  long long firstRow = 0;
  long long rows = std::numeric_limits<long long>::max();
  // The rows of a batch; the last one may have fewer. Memory is taken as the rows come, so a high number is harmless. 0
  // takes 65,536, or fewer where so many cells of the chosen columns have more than 768 KiB; at least 128 unless these have
  // more than 16 MiB. A multiple of 8 is fastest.
  int rowsPerBatch = 0;
  // Whether user-missing values count as no value.
  bool dropUserMissing = false;
  // The encoding of the source's text, if the source does not say it: SystemFileDataSource and the encoding views do;
  // other sources are in that of their parent, or without one in UTF-8. Bytes that form no character become U+FFFD.
  std::string encoding = {};
  // How many threads decode, at least 1; more than kMostColumnThreads are as good as these. The thread that calls Next is
  // one of them; with 1 it does all, and no thread is started.
  int threads = 1;
};

class DATASRC_API ColumnReader {
 public:
  // The source outlives the reader. Asserts that the columns exist, that no number is negative, and that there is a
  // thread. Throws QuavServerError where an iterator of the source would.
  explicit ColumnReader(const QUAV_DataSource& source, ColumnReaderOptions options = {});
  ~ColumnReader();
  ColumnReader(const ColumnReader&) = delete;
  ColumnReader& operator=(const ColumnReader&) = delete;

  // The columns of a batch, as columns of the source.
  const std::vector<int>& Columns() const;
  // Returns the kind of a column of all batches; long_text where the texts of one batch may exceed 2 GiB.
  BatchColumn::Kind KindOf(int column) const;
  // Returns the next batch, or null at the end. Throws QuavServerError for a fault of the file, after all whole cases
  // before it were delivered. After any other exception, such as std::bad_alloc, cases are lost: drop the reader.
  std::shared_ptr<const ColumnBatch> Next();

 private:
  struct DATASRC_LOCAL Data;

  std::unique_ptr<Data> m_;
};

#endif
