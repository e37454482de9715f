#include "tools/systemfile/OpenSource.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <fstream>
#include <optional>
#include <string_view>
#include <system_error>
#include <vector>

#include "Columns/dictionary/DictionaryFacts.h"
#include "datasrc/UTF8DataSource.h"
#include "tools/messages/Report.h"
#include "tools/messages/ToolError.h"

namespace tool {

namespace {

constexpr std::string_view kPlainLetters = "$FL";  // a file in EBCDIC has other bytes
// These letters follow the 8-byte length of the block that contains them.
constexpr std::string_view kEncryptedLetters = "ENCRYPTEDSAV";
constexpr std::size_t kEncryptedStart = 8 + kEncryptedLetters.size();

constexpr char kStandardInput[] = "/dev/stdin";
constexpr std::size_t kPiece = 256UL * 1024;

[[noreturn]] void FailToKeep() {
  throw ToolError("the input cannot be kept (" + std::generic_category().message(errno) + ")", "standard input");
}

void ShowNames(QUAV_DataSource& data, const QUAV_DataSource& shown) {
  for (int column = 0; column < static_cast<int>(data.ColumnCount()); ++column)
    data.GetVariable(column).SetName(shown.GetVariable(column).GetName());
}

}  // namespace

OpenedSource OpenSource(const std::string& name, const ExtNameStr& password) {
  const std::string file = name == "-" ? StandardInputAsFile() : name;
  Warnings warnings(file);
  SourceLine data = dstext::OpenInPresentEncoding(file, PasswordFor(file, password), &warnings);
  const SystemFileDataSource* const behind = dstext::FileBehind(*data);
  return {std::move(data), behind};
}

OpenedSource OpenAsStored(const std::string& file, const ExtNameStr& password) {
  auto data = dstext::OpenAsStored(file, password);
  if (!data->IsCompatibleEncoding()) ShowNames(*data, UTF8DataSource(*data, data->CharacterEncoding(), nullptr));
  const SystemFileDataSource* const behind = data.get();
  return {SourceLine(data.release()), behind};
}

ExtNameStr PasswordFor(const std::string& file, const ExtNameStr& password) {
  if (password.Empty() || IsEncrypted(file) || access(file.c_str(), R_OK) != 0) return password;
  WarnOfPassword(file);
  return {};
}

void WarnOfPassword(const std::string& file) {
  ReportWarning("the file is not encrypted, so the password is not used", file);
}

std::string StandardInputAsFile(InputBytes* begun) {
  struct stat status {};
  const bool isFile = fstat(STDIN_FILENO, &status) == 0 && S_ISREG(status.st_mode);
  if (begun == nullptr && isFile && lseek(STDIN_FILENO, 0, SEEK_CUR) == 0) return kStandardInput;
  const int memory = memfd_create("input", MFD_CLOEXEC);
  if (memory < 0) FailToKeep();
  std::optional<InputBytes> own;
  if (begun == nullptr) begun = &own.emplace("-");
  begun->ReadOnce();
  std::vector<char> piece(kPiece);
  while (const std::size_t size = begun->Read(piece.data(), piece.size())) {
    for (std::size_t written = 0; written < size;) {
      const ssize_t count = write(memory, piece.data() + written, size - written);
      if (count < 0 && errno != EINTR) FailToKeep();
      if (count > 0) written += static_cast<std::size_t>(count);
    }
  }
  if (dup2(memory, STDIN_FILENO) < 0) FailToKeep();
  close(memory);
  return kStandardInput;
}

bool IsSystemFileStart(std::string_view bytes) {
  return bytes.starts_with(kPlainLetters) || bytes.substr(0, kEncryptedStart).ends_with(kEncryptedLetters);
}

bool IsEncrypted(const std::string& file) {
  std::array<char, kEncryptedStart> start{};
  std::ifstream(file, std::ios::binary).read(start.data(), start.size());
  return std::string_view(start.data(), start.size()).ends_with(kEncryptedLetters);
}

void Warnings::Warning(const Message& message) { ReportWarning(message.number, message.text, m_file); }

}  // namespace tool
