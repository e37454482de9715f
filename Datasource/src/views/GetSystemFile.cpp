// Opens a system file by its name: as it is, or through a view that shows it in the process's encoding.

#include "datasrc/SystemFileDataSource.h"

#include <array>
#include <memory>
#include <string>
#include <utility>

#include "Platform/text/QUAVMB.h"
#include "core/Warning.h"
#include "datasrc/CodePageDataSource.h"
#include "datasrc/UTF8DataSource.h"
#include "systemfile/SystemFileException.h"

namespace {

using TemporaryCodePage = SystemFileDataSource::TemporaryCodePage;

// A view takes over its parent: from then on they are one line, which DeleteLine deletes.
QUAV_DataSource* AsLine(std::unique_ptr<SystemFileDataSource> file, std::unique_ptr<QUAV_DataSource> view) {
  QUAV_DataSource& result = view ? *view : *file;
  result.SetDirty(false);
  static_cast<void>(file.release());
  static_cast<void>(view.release());
  return &result;
}

}  // namespace

SystemFileDataSource::TemporaryCodePage::TemporaryCodePage(const std::string& name, int utf8)
    : m_changesConverter(!name.empty()), m_utf8mode(qUTF8mode()) {
  if (m_changesConverter) {
    std::array<char, kCodePageNameSize> present;
    m_converter = QUAVMBConverterName_A(0, present.data());
    QUAVMBConverterSet_A(name.c_str());
  }
  SetUTF8mode(utf8);
}

SystemFileDataSource::TemporaryCodePage::~TemporaryCodePage() {
  // An empty name removes the converter again if there was none before.
  if (m_changesConverter) QUAVMBConverterSet_A(m_converter.c_str());
  SetUTF8mode(m_utf8mode);
}

QUAV_DataSource* SystemFileDataSource::GetSystemFile(const ExtNameStr& name, const ExtNameStr& password,
                                                     bool passwordMangled, ErrorMonitor* monitor) {
  auto file = std::make_unique<SystemFileDataSource>(name, password, passwordMangled);
  const std::string encoding = file->CharacterEncoding();
  if (file->IsCompatibleEncoding()) return AsLine(std::move(file), nullptr);

  std::unique_ptr<QUAV_DataSource> view;
  // Opening a file examines the names of its variables, so it is opened again in its own encoding. Contract: the
  // password counts as not mangled; opening tries the other form too.
  const auto openAgain = [&](const std::string& converter, int utf8) {
    file.reset();
    const TemporaryCodePage codePage(converter, utf8);
    file = std::make_unique<SystemFileDataSource>(name, password, false);
  };
  if (qUTF8mode()) {
    openAgain(encoding, 0);
    file->SetFileSpec(name.GetGeneric().c_str());
    view = std::make_unique<UTF8DataSource>(*file, encoding, monitor);
  } else if (encoding == kUtf8Name) {
    openAgain("", 1);
    file->SetFileSpec(name);
    view = std::make_unique<CodePageDataSource>(*file, QUAVMBDefaultCodePage(), monitor, false);
  } else {
    Warn(monitor, kForeignEncoding, name.GetGeneric(), encoding);
  }
  return AsLine(std::move(file), std::move(view));
}

QUAV_DataSource* SystemFileDataSource::GetSystemFile(const std::string& file, const std::string& password,
                                                     bool passwordMangled, ErrorMonitor* monitor) {
  return GetSystemFile(ExtNameStr(file), ExtNameStr(password), passwordMangled, monitor);
}
