// The two names of a variable in a file: the short name in its own record, the long name in the record of long names.

#include "datasrc/SystemFileDataSource.h"

#include <algorithm>
#include <string>

#include "Platform/messages/ThrowError.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/VariableNames.h"
#include "systemfile/SystemFileDataSourceData.h"
#include "systemfile/SystemFileException.h"

namespace {

// A name from a file may have any length; the caller's buffer has room for a variable name.
// Bytes that form no character are part of the name.
void CopyName(const std::string& name, char* out) {
  const bool fits = name.size() <= kMaxVariableName;
  const auto size = fits ? name.size()
                         : static_cast<std::size_t>(
                               QUAVMBWholeCharacters_A(name.data(), static_cast<int>(name.size()), kMaxVariableName));
  name.copy(out, size);
  out[size] = '\0';
}

}  // namespace

void SystemFileDataSource::GetCompatName(const char* name, char* out) const {
  // Deliberate: searches the list as it is. If the record was not sorted, the search may miss a name in it.
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
