// The document record. Format: docs/system-file.md, "Document record".

#include <algorithm>
#include <string>

#include "DictionaryReader.h"
#include "systemfileformat.h"

void DictionaryReader::ReadDocumentRecord() {
  std::byte raw[sizeof(std::int32_t)] = {};
  ReadLoosely(raw, sizeof(raw));
  // No more lines than the file still has: the whole of a longer record could not be read anyway.
  const std::int64_t lines = std::clamp<std::int64_t>(Load<std::int32_t>(raw, m_options.Order()), 0,
                                                      Left() / kDocumentLineSize);
  std::string text(static_cast<std::size_t>(lines) * kDocumentLineSize, ' ');
  ReadLoosely(text.data(), text.size());
  m_source.SetExtension(kDocumentExtension, 1, std::ssize(text), text.data());
  m_options.NoteExtension(kDocumentExtension);
}
