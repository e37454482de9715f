// Writes cases into a new system file, which gets its name when it is whole (NewFile). What stands under the name and
// is no regular file is written as it is.
//
// Failures are as the library has them, and tell the final name.
//
// Threads: one thread at a time.

#ifndef TOOLS_CASES_SYSTEMFILEWRITER_H
#define TOOLS_CASES_SYSTEMFILEWRITER_H

#include <optional>
#include <string>

#include "Platform/messages/ThrowError.h"
#include "datasrc/SaveFile.h"
#include "tools/cases/CaseWriter.h"
#include "tools/cases/LongTextMender.h"
#include "tools/files/NewFile.h"

namespace tool {

struct SystemFileForm {
  int compression;       // 0 none, 1 byte codes, 2 zlib
  std::string encoding;  // of the dictionary's and the cases' text
  ExtNameStr password;   // empty: the file is not encrypted
};

class SystemFileWriter final : public CaseWriter {
 public:
  // Throws ToolError for a dictionary that the library would end the process for.
  SystemFileWriter(const std::string& path, const QUAV_DataSource& dictionary, const SystemFileForm& form);

  void Begin() override;
  void WriteCase(const OBS* cells) override;
  void End() override;

 private:
  std::string m_path;
  std::optional<NewFile> m_newFile;
  SaveFile m_file;
  LongTextMender m_mender;
};

// Throws on as a failure about `path` what the library threw about `file`.
[[noreturn]] void ThrowAbout(const std::string& path, const std::string& file, const QuavServerError& error);

}  // namespace tool

#endif
