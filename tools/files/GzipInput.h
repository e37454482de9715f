// Unpacks gzip data (RFC 1952). Several members after one another are one text, and zero bytes may follow the last.
//
// Threads: one thread at a time.

#ifndef TOOLS_FILES_GZIPINPUT_H
#define TOOLS_FILES_GZIPINPUT_H

#include <zlib.h>

#include <string>
#include <string_view>
#include <vector>

#include "tools/files/InputFilter.h"

namespace tool {

// The first bytes of every gzip file.
inline constexpr std::string_view kGzipMagic = "\x1F\x8B";

class GzipInput final : public InputFilter {
 public:
  // `name` is the input's for messages.
  GzipInput(ReadFunction source, std::string name);
  GzipInput(const GzipInput&) = delete;
  GzipInput& operator=(const GzipInput&) = delete;
  ~GzipInput() override;

  std::size_t Read(char* bytes, std::size_t size) override;
  void Restart() override;

 private:
  bool Fill();
  bool BeginsMember();

  ReadFunction m_source;
  std::string m_name;
  std::vector<char> m_packed;
  z_stream m_stream{};
  bool m_isInMember = true;  // the end of the data would be a fault
  bool m_wasFull = false;    // the last output took all of the room
};

}  // namespace tool

#endif
