#include "tools/cases/SystemFileWriter.h"

#include "tools/dictionary/FittedDictionary.h"
#include "tools/messages/Report.h"
#include "tools/messages/ToolError.h"

namespace tool {

namespace {

// These dictionaries end the process when the library writes them.
void RefuseFatal(const QUAV_DataSource& dictionary, const std::string& path, const std::string& encoding) {
  constexpr int kDichotomy = 2;
  if (dictionary.ColumnCount() == 0) throw ToolError("a system file without variables cannot be written", path);
  for (const VariableSetImpl& set : dictionary.GetMRSets()) {
    if (!set.name.starts_with('$'))
      throw ToolError("the name of a multiple response set does not begin with the byte of \"$\" in " + encoding, path);
    if (set.type == kDichotomy && set.value.empty())
      throw ToolError("the multiple response set " + set.name + " counts no value", path);
  }
}

}  // namespace

SystemFileWriter::SystemFileWriter(const std::string& path, const QUAV_DataSource& dictionary,
                                   const SystemFileForm& form)
    : m_path(path), m_options(form.newFile), m_mender(dictionary, form.encoding) {
  RefuseFatal(dictionary, path, form.encoding);
  m_file.CopyDictionary(dictionary);
  // Those of the source would count as lost.
  if (form.sortKeys) SetSortKeys(m_file, {});
  m_losses = FitDictionary(m_file, dictionary, {.carried = form.carried, .file = form.encoding}, path);
  if (form.sortKeys) SetSortKeys(m_file, *form.sortKeys);
  m_file.SetCompressionLevel(form.compression);
  m_file.CharacterEncoding(form.encoding);
  m_file.SetPassword(form.password);
}

void SystemFileWriter::Begin() {
  if (!dstext::IsIrregular(m_path)) m_newFile.emplace(m_path, m_options);
  m_file.SetFileSpec((m_newFile ? m_newFile->Path() : m_path).c_str());
  try {
    m_file.CommitDictionary();
    CountLostMembers(m_file, m_losses);
  } catch (const QuavServerError& error) {
    ThrowAbout(m_path, m_file.GetFileSpec(), error);
  }
}

void SystemFileWriter::WriteCase(const OBS* cells) {
  try {
    m_file.AddRow(m_mender.Mended(cells));
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
  m_losses.Report(m_path);
  m_mender.Report(m_path);
}

void SystemFileWriter::Finish() {
  RefuseWarnings();
  if (m_newFile) m_newFile->Finish();
}

void ThrowAbout(const std::string& path, const std::string& file, const QuavServerError& error) {
  QuavServerError about(error.Number(), error.Text(), error.File() == file ? path : error.File());
  about.SetPlace(error.Place());
  throw about;
}

}  // namespace tool
