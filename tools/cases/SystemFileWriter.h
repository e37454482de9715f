// Writes cases to a new system file, which gets its name when it is complete (NewFile). A path that exists and is not a
// regular file is written directly.
//
// Text of the dictionary that does not fit into a file is cut between characters (FittedDictionary.h). The warnings
// about it, and about values, come when the file is complete.
//
// Failures are the library's, with the final name as their file.
//
// Threads: one thread at a time.

#ifndef TOOLS_CASES_SYSTEMFILEWRITER_H
#define TOOLS_CASES_SYSTEMFILEWRITER_H

#include <optional>
#include <string>

#include "Columns/files/NewFile.h"
#include "Platform/messages/ThrowError.h"
#include "datasrc/SaveFile.h"
#include "tools/cases/CaseWriter.h"
#include "tools/cases/LongTextMender.h"
#include "tools/cases/SortKeys.h"
#include "tools/messages/Losses.h"

namespace tool {

struct SystemFileForm {
  int compression;       // 0 none, 1 byte codes, 2 zlib
  std::string encoding;  // the encoding of the text in the dictionary and the cases
  std::string carried;   // the encoding of the text that views leave as it is (CarriedText.h)
  ExtNameStr password;   // empty for a file that is not encrypted
  dstext::NewFileOptions newFile = {};
  std::optional<SortKeys> sortKeys = {};  // instead of those of the dictionary
};

class SystemFileWriter final : public CaseWriter {
 public:
  // Throws ToolError for a dictionary that the library would end the process for. The present encoding is that of the
  // file.
  SystemFileWriter(const std::string& path, const QUAV_DataSource& dictionary, const SystemFileForm& form);

  void Begin() override;
  void WriteCase(const OBS* cells) override;
  void End() override;
  // Last: gives the file its name, if warnings are no failures. Before it, all warnings must be reported.
  void Finish();

 private:
  std::string m_path;
  dstext::NewFileOptions m_options;
  std::optional<dstext::NewFile> m_newFile;
  SaveFile m_file;
  LongTextMender m_mender;
  Losses m_losses;
};

// Rethrows an error of the library. An error about `file` becomes an error about `path`.
[[noreturn]] void ThrowAbout(const std::string& path, const std::string& file, const QuavServerError& error);

}  // namespace tool

#endif
