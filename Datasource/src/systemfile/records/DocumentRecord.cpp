// The document record. Format: docs/system-file.md, "Document record".

#include <algorithm>
#include <string>

#include "core/systemfileformat.h"
#include "systemfile/DictionaryReader.h"

void DictionaryReader::ReadDocumentRecord() {
  std::byte raw[sizeof(std::int32_t)] = {};
  ReadLoosely(raw, sizeof(raw));
  const std::int64_t lines = std::max(Load<std::int32_t>(raw, m_options.Order()), 0);
  // A truncated record takes all that is left; then the next record is missing.
  std::string text(static_cast<std::size_t>(std::min(lines * kDocumentLineSize, Left())), ' ');
  ReadLoosely(text.data(), text.size());
  m_source.SetExtension(kDocumentExtension, 1, std::ssize(text), text.data());
  m_options.NoteExtension(kDocumentExtension);
  m_documentsPlace = m_place;
}
