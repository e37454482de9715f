// Writes what is readable of a file to a new system file, while the file is verified.
//
//   Salvage salvage(path, newFile);
//   const VerifiedFile found = VerifySystemFile(file, password, threads, salvage);
//   salvage.Finish(found);
//
// The new file has the dictionary, compression, encoding and password of the damaged one. It gets its name when it is
// complete.
//
// Threads: one thread at a time.

#ifndef TOOLS_VERIFY_SALVAGE_H
#define TOOLS_VERIFY_SALVAGE_H

#include <optional>
#include <string>

#include "Columns/files/NewFile.h"
#include "datasrc/SystemFileVerification.h"
#include "tools/cases/SystemFileWriter.h"
#include "tools/messages/Progress.h"

namespace tool {

// Shows the progress of a verification.
class VerifyProgress : public VerificationVisitor {
 public:
  bool Dictionary(SystemFileDataSource& dictionary, const std::string& loss) override;
  void Progress(long long cases) override;

 private:
  std::optional<tool::Progress> m_progress;
};

class Salvage final : public VerifyProgress {
 public:
  Salvage(const std::string& path, const dstext::NewFileOptions& newFile) : m_path(path), m_newFile(newFile) {}

  bool Dictionary(SystemFileDataSource& dictionary, const std::string& loss) override;
  void Case(const OBS* cells) override { m_writer->WriteCase(cells); }
  // Completes the new file, and warns about all that it lacks. Throws ToolError when nothing of `file` was readable.
  void Finish(const std::string& file, const VerifiedFile& found);

 private:
  std::string m_path;
  dstext::NewFileOptions m_newFile;
  std::string m_loss;
  std::string m_encoding;
  std::optional<SystemFileWriter> m_writer;
};

}  // namespace tool

#endif
