#include "OpenSource.h"

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "Platform/messages/ThrowError.h"
#include "RecordLookAhead.h"
#include "Report.h"
#include "datasrc/UTF8DataSource.h"

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

void RefuseBadFile(const std::string& file) {
  RefuseIrregularFile(file);
  if (const auto flaw = FindFatalFlaw(file)) throw QuavServerError(kMalformed, flaw->Text(), file);
}

std::unique_ptr<SystemFileDataSource> OpenIn(const std::string& encoding, const std::string& file) {
  const SystemFileDataSource::TemporaryCodePage codePage(encoding, 0);
  return std::make_unique<SystemFileDataSource>(file, "", false);
}

void ShowNames(QUAV_DataSource& data, const QUAV_DataSource& shown) {
  for (int column = 0; column < static_cast<int>(data.ColumnCount()); ++column)
    data.GetVariable(column).SetName(shown.GetVariable(column).GetName());
}

// A view presents its parent.
const SystemFileDataSource* FileBehind(const QUAV_DataSource& data) {
  const QUAV_DataSource* source = &data;
  while (source->GetParentSource() != nullptr) source = source->GetParentSource();
  return dynamic_cast<const SystemFileDataSource*>(source);
}

}  // namespace

OpenedSource OpenSource(const std::string& file) {
  RefuseBadFile(file);
  Warnings warnings(file);
  SourceLine data(SystemFileDataSource::GetSystemFile(file, "", false, &warnings));
  const SystemFileDataSource* const behind = FileBehind(*data);
  return {std::move(data), behind};
}

OpenedSource OpenAsStored(const std::string& file) {
  RefuseBadFile(file);
  auto data = std::make_unique<SystemFileDataSource>(file, "", false);
  if (!data->IsCompatibleEncoding()) {
    const std::string encoding = data->CharacterEncoding();
    data = OpenIn(encoding, file);
    ShowNames(*data, UTF8DataSource(*data, encoding, nullptr));
  }
  const SystemFileDataSource* const behind = data.get();
  return {SourceLine(data.release()), behind};
}

void Warnings::Warning(const Message& message) { ReportWarning(message.number, message.text, m_file); }

}  // namespace tool
