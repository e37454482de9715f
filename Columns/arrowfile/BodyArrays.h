// Takes the arrays of columns out of the body of a message, as they stand there.
//
// Nothing of the message is trusted: buffers lie in the body, are as long as the number of rows takes, and the offsets of
// texts ascend within their text. Indexes of dictionaries and views of texts are checked by who reads them.
//
// Threads: one thread at a time.

#ifndef COLUMNS_ARROWFILE_BODYARRAYS_H
#define COLUMNS_ARROWFILE_BODYARRAYS_H

#include <cstdint>
#include <string>

#include "ArrowMessages_generated.h"
#include "Columns/arrow/ArrowData.h"
#include "Columns/arrowfile/FieldShape.h"
#include "Columns/arrowfile/FileBytes.h"

namespace arrowfile {

class BodyArrays {
 public:
  // Throws ArrowFileError for a compressed body. `batch` outlives this object.
  BodyArrays(const messages::RecordBatch& batch, Bytes body);

  std::int64_t Rows() const { return m_batch.length(); }
  // Returns the array of the next column, which must have Rows() rows. Throws ArrowFileError, with the name of the column.
  ArrayData Next(const ValueShape& shape, const std::string& column);
  // Throws ArrowFileError when there are more columns.
  void RequireEnd() const;

 private:
  struct Part {
    const std::byte* data;  // null for no bytes
    std::int64_t size;
  };

  Part NextBuffer(const std::string& column);
  template <class Offset>
  void AddTexts(ArrayData& array, const std::string& column);
  void AddViews(ArrayData& array, const std::string& column);

  const messages::RecordBatch& m_batch;
  Bytes m_body;
  std::uint32_t m_nextNode = 0;
  std::uint32_t m_nextBuffer = 0;
  std::uint32_t m_nextCount = 0;  // of buffers of a column of views
};

}  // namespace arrowfile

#endif
