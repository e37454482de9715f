// Read single texts of Arrow arrays: one class for each layout.
//
// Text(i) returns the bytes of element i, or nothing when its offsets are not those of a text. Elements are counted from
// the start of the buffers.
//
// Threads: any number at once.

#ifndef COLUMNS_ARROWIN_TEXTREADERS_H
#define COLUMNS_ARROWIN_TEXTREADERS_H

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "datasrc/ArrowAbi.h"

namespace arrowin {

// utf8 and large_utf8: text i lies between offsets i and i + 1.
template <class Offset>
class OffsetTexts {
 public:
  static constexpr std::int64_t kBuffers = 3;

  explicit OffsetTexts(const ArrowArray& array)
      : m_offsets(static_cast<const Offset*>(array.buffers[1])), m_text(static_cast<const char*>(array.buffers[2])) {}

  std::optional<std::string_view> Text(std::int64_t i) const {
    const Offset begin = m_offsets[i];
    const Offset end = m_offsets[i + 1];
    if (begin < 0 || end < begin || (m_text == nullptr && end > begin)) return std::nullopt;
    return std::string_view(m_text + begin, static_cast<std::size_t>(end - begin));
  }

 private:
  const Offset* m_offsets;
  const char* m_text;
};

// utf8_view: 16 bytes for each text. First its size as 32 bits; then up to 12 bytes of it, or its first four bytes, the
// number of a buffer and an offset there, each of 32 bits.
class ViewTexts {
 public:
  static constexpr std::int64_t kBuffers = 3;  // or more: the validity, the views, any number of texts, their sizes

  explicit ViewTexts(const ArrowArray& array)
      : m_views(static_cast<const View*>(array.buffers[1])),
        m_texts(array.buffers + 2),
        m_count(array.n_buffers - kBuffers),
        m_sizes(static_cast<const std::int64_t*>(array.buffers[array.n_buffers - 1])) {}

  std::optional<std::string_view> Text(std::int64_t i) const {
    const View& view = m_views[i];
    const auto size = std::bit_cast<std::int32_t>(view.size);
    if (size < 0) return std::nullopt;
    if (static_cast<std::size_t>(size) <= view.rest.size())
      return std::string_view(view.rest.data(), std::size_t(size));
    const auto place = std::bit_cast<Place>(view.rest);
    if (place.buffer < 0 || place.buffer >= m_count || place.offset < 0 || m_sizes == nullptr) return std::nullopt;
    if (std::int64_t{place.offset} + size > m_sizes[place.buffer] || m_texts[place.buffer] == nullptr)
      return std::nullopt;
    return std::string_view(static_cast<const char*>(m_texts[place.buffer]) + place.offset, std::size_t(size));
  }

 private:
  struct View {
    std::array<char, 4> size;
    std::array<char, 12> rest;
  };
  struct Place {
    std::array<char, 4> beginning;
    std::int32_t buffer;
    std::int32_t offset;
  };
  static_assert(sizeof(View) == 16 && sizeof(Place) == sizeof(View::rest));

  const View* m_views;
  const void* const* m_texts;
  std::int64_t m_count;
  const std::int64_t* m_sizes;
};

}  // namespace arrowin

#endif
