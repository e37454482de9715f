// The two names that a variable of a file may have: the short one, which the file's variable record holds, and the long
// one, which the record of long names adds.

#include "datasrc/SystemFileDataSource.h"

#include <algorithm>
#include <string>

#include "Platform/messages/ThrowError.h"
#include "datasrc/VariableNames.h"
#include "systemfile/SystemFileDataSourceData.h"
#include "systemfile/SystemFileException.h"

namespace {

// A name from a file may be of any length; the caller's room is that of a name.
void CopyName(const std::string& name, char* out) { SystemFileOptions::strTrunc(out, name.c_str(), kMaxVariableName); }

}  // namespace

void SystemFileDataSource::GetCompatName(const char* name, char* out) const {
  // Deliberate: the table is searched as it stands. A file whose record is out of order may hold the name all the same.
  const Rename* const entry = FindRename(m_->m_options.renames, name);
  if (entry == nullptr) ThrowError::String2(kDatasrcCatalog, kNoSuchName, name, GetFileSpec());
  CopyName(entry->second, out);
}

void SystemFileDataSource::GetInputFileCompatName(const char* name, char* out) const {
  const Renames& renames = m_->m_options.renames;
  const auto entry = std::ranges::find(renames, name, &Rename::second);
  if (entry == renames.end()) ThrowError::String2(kDatasrcCatalog, kNoSuchName, name, GetFileSpec());
  CopyName(entry->first, out);
}
