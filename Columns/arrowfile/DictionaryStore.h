// The dictionaries of a file by their ids, each with the parts that arrived so far.
//
// Threads: one thread at a time.

#ifndef COLUMNS_ARROWFILE_DICTIONARYSTORE_H
#define COLUMNS_ARROWFILE_DICTIONARYSTORE_H

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "Columns/arrow/ArrowData.h"
#include "Columns/arrowfile/BodyArrays.h"
#include "Columns/arrowfile/FieldShape.h"

namespace arrowfile {

class DictionaryStore {
 public:
  // Throws ArrowFileError when columns share a dictionary, but not the type of its values.
  explicit DictionaryStore(const std::vector<FieldShape>& columns);

  // Takes the dictionary of a message, or its further values. Throws ArrowFileError for an unknown id, and for further
  // values of a type that cannot be joined.
  void Add(const messages::DictionaryBatch& message, const Bytes& body);
  // Returns an array that shares the memory of the dictionary. Throws ArrowFileError when none arrived.
  std::unique_ptr<ArrayData> Values(const FieldShape& column) const;

 private:
  // Values that several messages brought.
  struct Joined {
    std::vector<std::uint8_t> validity;
    std::vector<std::byte> values;      // of a fixed width
    std::vector<std::int32_t> offsets;  // or texts
    std::vector<std::byte> text;
  };
  struct Dictionary {
    ValueShape shape;
    std::string column;  // for messages
    bool hasValues = false;
    ArrayData values = {};
    std::shared_ptr<Joined> joined = {};
  };

  static void Join(Dictionary& dictionary, const ArrayData& added);

  std::unordered_map<std::int64_t, Dictionary> m_dictionaries;
};

}  // namespace arrowfile

#endif
