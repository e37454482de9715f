#include "Columns/arrow/LabelDictionary.h"

#include <limits>

#include "Columns/arrow/ArrowColumn.h"

std::int32_t LabelDictionary::IndexOf(std::string_view text) {
  if (const auto found = m_indexes.find(text); found != m_indexes.end()) return found->second;
  if (text.size() > std::numeric_limits<std::int32_t>::max() - m_texts.text.size())
    throw ValueDoesNotFit("the labels and values of the column have more than 2 GiB: read it without labels");
  const auto index = static_cast<std::int32_t>(m_indexes.size());
  m_indexes.emplace(text, index);
  m_texts.text += text;
  m_texts.offsets.push_back(static_cast<std::int32_t>(m_texts.text.size()));
  m_last = nullptr;
  return index;
}

ArrayData LabelDictionary::Array() {
  if (!m_last) m_last = std::make_shared<const Snapshot>(m_texts);
  ArrayData array;
  array.length = static_cast<std::int64_t>(m_indexes.size());
  array.buffers = {nullptr, m_last->offsets.data(), m_last->text.data()};
  array.owner = m_last;
  return array;
}
