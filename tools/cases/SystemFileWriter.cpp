#include "tools/cases/SystemFileWriter.h"

#include "tools/messages/ToolError.h"

namespace tool {

SystemFileWriter::SystemFileWriter(const std::string& path, const QUAV_DataSource& dictionary,
                                   const SystemFileForm& form)
    : m_path(path), m_options(form.newFile) {
  // The library would end the process for such a dictionary.
  if (dictionary.ColumnCount() == 0) throw ToolError("a system file without variables cannot be written", path);
  m_file.CopyDictionary(dictionary);
  m_file.SetCompressionLevel(form.compression);
  m_file.CharacterEncoding(form.encoding);
  m_file.SetPassword(form.password);
}

void SystemFileWriter::Begin() {
  if (!IsIrregular(m_path)) m_newFile.emplace(m_path, m_options);
  m_file.SetFileSpec((m_newFile ? m_newFile->Path() : m_path).c_str());
  try {
    m_file.CommitDictionary();
  } catch (const QuavServerError& error) {
    ThrowAbout(m_path, m_file.GetFileSpec(), error);
  }
}

void SystemFileWriter::WriteCase(const OBS* cells) {
  try {
    m_file.AddRow(cells);
  } catch (const QuavServerError& error) {
    ThrowAbout(m_path, m_file.GetFileSpec(), error);
  }
}

void SystemFileWriter::End() {
  try {
    m_file.Close();
  } catch (const QuavServerError& error) {
    ThrowAbout(m_path, m_file.GetFileSpec(), error);
  }
  if (m_newFile) m_newFile->Finish();
}

void ThrowAbout(const std::string& path, const std::string& file, const QuavServerError& error) {
  QuavServerError about(error.Number(), error.Text(), error.File() == file ? path : error.File());
  about.SetPlace(error.Place());
  throw about;
}

}  // namespace tool
