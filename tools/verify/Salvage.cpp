#include "tools/verify/Salvage.h"

#include <unistd.h>

#include "Platform/text/QUAVMB.h"
#include "tools/messages/Report.h"
#include "tools/messages/ToolError.h"
#include "tools/verify/VerifyReport.h"

namespace tool {

bool VerifyProgress::Dictionary(SystemFileDataSource& dictionary, const std::string& /*loss*/) {
  m_progress.emplace(STDERR_FILENO, dictionary.RowCount());
  return false;
}

void VerifyProgress::Progress(long long cases) {
  if (m_progress) m_progress->Jump(cases);
}

bool Salvage::Dictionary(SystemFileDataSource& dictionary, const std::string& loss) {
  VerifyProgress::Dictionary(dictionary, loss);
  m_loss = loss;
  m_encoding = dictionary.CharacterEncoding();
  m_writer.emplace(
      m_path, dictionary,
      SystemFileForm{dictionary.GetCompressionLevel(), m_encoding, m_encoding, dictionary.GetPassword(), m_newFile});
  m_writer->Begin();
  return true;
}

void Salvage::Finish(const std::string& file, const VerifiedFile& found) {
  if (!m_writer) throw ToolError("nothing can be saved: the cases cannot be reached", file);
  {
    const SystemFileDataSource::TemporaryCodePage codePage(m_encoding,
                                                           QUAVMBqSameCodePage(m_encoding.c_str(), kUtf8Name));
    m_writer->End();
    m_writer->Finish();
  }
  if (!m_loss.empty()) ReportWarning("the new file lacks what cannot be read: " + m_loss, m_path);
  for (const RowGap& gap : found.missing)
    if (gap.to != gap.from) ReportWarning("the new file lacks " + RowGapText(gap), m_path);
}

}  // namespace tool
