// Packs text as gzip data (RFC 1952). The same text always gives the same bytes: the header has no time and no name.
//
// Threads: one thread at a time.

#ifndef TOOLS_FILES_GZIPOUTPUT_H
#define TOOLS_FILES_GZIPOUTPUT_H

#include <zlib.h>

#include <string>
#include <string_view>

namespace tool {

class GzipOutput {
 public:
  GzipOutput();
  GzipOutput(const GzipOutput&) = delete;
  GzipOutput& operator=(const GzipOutput&) = delete;
  ~GzipOutput();

  // Returns the packed bytes that are ready, which may be none. The result is valid until the next call.
  std::string_view Pack(std::string_view text) { return Run(text, Z_NO_FLUSH); }
  // Returns the last bytes.
  std::string_view End() { return Run({}, Z_FINISH); }

 private:
  std::string_view Run(std::string_view text, int flush);

  z_stream m_stream{};
  std::string m_packed;
};

}  // namespace tool

#endif
