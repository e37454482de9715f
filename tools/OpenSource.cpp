#include "OpenSource.h"

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "Platform/messages/ThrowError.h"
#include "RecordLookAhead.h"

namespace tool {

namespace {

constexpr int kCannotOpen = 1201;
constexpr int kMalformed = 1204;

void RefuseIrregularFile(const std::string& file) {
  std::error_code none;
  const auto status = std::filesystem::status(file, none);
  if (!std::filesystem::exists(status) || std::filesystem::is_regular_file(status)) return;
  errno = std::filesystem::is_directory(status) ? EISDIR : ESPIPE;
  ThrowError::StringSys(kDatasrcCatalog, kCannotOpen, file.c_str());
}

// A view presents its parent.
const SystemFileDataSource* FileBehind(const QUAV_DataSource& data) {
  const QUAV_DataSource* source = &data;
  while (source->GetParentSource() != nullptr) source = source->GetParentSource();
  return dynamic_cast<const SystemFileDataSource*>(source);
}

}  // namespace

OpenedSource OpenSource(const std::string& file) {
  RefuseIrregularFile(file);
  if (const auto flaw = FindFatalFlaw(file)) throw QuavServerError(kMalformed, flaw->Text(), file);
  auto data = std::make_unique<const SystemFileDataSource>(file, "", false);
  const SystemFileDataSource* const behind = FileBehind(*data);
  return {std::move(data), behind};
}

}  // namespace tool
