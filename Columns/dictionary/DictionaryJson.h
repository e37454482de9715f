// The dictionary of a source as JSON: what `datasrc info --json` prints. tools/README.md lists the members.
//
//   DictionaryJson(source).Write([&](std::string_view piece) { out += piece; });
//
// A source that neither is a file nor presents one has no members about a file: compression, byte_order, encoding,
// encrypted, eye_catcher, release and extensions_found are omitted.
//
// The variables are written one by one. Labels that many variables share might not fit into memory as one tree.
//
// Threads: one thread at a time for each object.

#ifndef COLUMNS_DICTIONARY_DICTIONARYJSON_H
#define COLUMNS_DICTIONARY_DICTIONARYJSON_H

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "datasrc/QUAV_DataSource.h"

namespace dstext {

class DictionaryJson {
 public:
  // Takes the pieces of a text in their order.
  using Sink = std::function<void(std::string_view)>;

  // The source outlives this object; its dictionary must not change meanwhile. `encoding` is that of the source's text;
  // when it is empty, the source says it (TextEncodingOf).
  explicit DictionaryJson(const QUAV_DataSource& source, const std::string& encoding = {});
  ~DictionaryJson();

  // Writes one object, with a line feed after it.
  void Write(const Sink& sink);
  // Does the same with these columns as `variables`.
  void Write(const Sink& sink, const std::vector<int>& columns);
  // Returns the object without the member `variables`. For a part of the cases or of the columns it says nothing of their
  // order, because a sort index counts rows and cells.
  std::string File(bool isPart = false);
  // Returns the element of `variables` for a column.
  std::string Variable(int column);

 private:
  class Writer;

  const QUAV_DataSource& m_source;
  std::unique_ptr<Writer> m_writer;
};

}  // namespace dstext

#endif
