// Uses a password as any caller of the library does, gives up every copy of it, and waits while its memory is searched.
// secrets_test.py runs it.
//
//   user FILE forget|keep
//
// The program reads the password's line from standard input. It then writes an encrypted file, appends to it and reads
// it with the password and with its mangled form, and fails to open other files. It prints "ready" and ends at the next
// line of input. With `keep` it keeps the password in both forms and the open file, so that the search itself is
// tested.

#include <string.h>
#include <unistd.h>

#include <iostream>
#include <memory>
#include <string>

#include "datasrc/datasrc.h"

namespace {

constexpr std::size_t kMostBytes = 1000;

// The bytes of a line of input. They are wiped at the end of the object.
class Line {
 public:
  Line() {
    while (m_size < kMostBytes && read(STDIN_FILENO, m_bytes + m_size, 1) == 1 && m_bytes[m_size] != '\n') ++m_size;
  }
  ~Line() { explicit_bzero(m_bytes, sizeof(m_bytes)); }

  // Copies the bytes into a text of the caller, who wipes it.
  void CopyTo(std::string& text) const {
    text.reserve(kMostBytes);
    text.assign(m_bytes, m_size);
  }

 private:
  char m_bytes[kMostBytes + 1];
  std::size_t m_size = 0;
};

ExtNameStr ReadPassword() {
  const Line line;
  std::string text;
  line.CopyTo(text);
  ExtNameStr password;
  password.SetU8(text);
  explicit_bzero(text.data(), text.size());
  return password;
}

void WriteFile(const char* name, const ExtNameStr& password) {
  SystemFileDataSource file;
  file.MakeVariable(0, nullptr).SetName("A");
  file.SetCompression(true);
  file.SetPassword(password);
  file.SetFileSpec(name);
  for (int number = 0; number < 1000; ++number) {
    const OBS row = NumberCell(number + 0.5);
    file.AddRow(&row);
  }
  file.Close();
}

int CountCases(const QUAV_DataSource& source) {
  const std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
  int count = 0;
  while (cases->Next()) ++count;
  return count;
}

int ReadAndAppend(const char* name, const ExtNameStr& password, bool mangled) {
  SystemFileDataSource file(ExtNameStr(name), password, mangled);
  const OBS row = NumberCell(1);
  file.AddRow(&row);
  file.Close();
  return CountCases(file);
}

void FailToOpen(const char* name, const ExtNameStr& password) {
  try {
    const SystemFileDataSource file(ExtNameStr(name), password, false);
  } catch (const QuavServerError& error) {
    std::cerr << error.what() << '\n';
  }
}

int Work(const char* name, const ExtNameStr& password) {
  WriteFile(name, password);
  ExtNameStr mangled = password;
  PasswordCrypt().encrypt(mangled);
  int count = ReadAndAppend(name, password, false);
  count += ReadAndAppend(name, mangled, true);
  const std::unique_ptr<QUAV_DataSource, LineDeleter> data(
      SystemFileDataSource::GetSystemFile(ExtNameStr(name), mangled, false, nullptr));
  count += CountCases(*data);
  FailToOpen("/dev/null", password);
  FailToOpen("/no such file", password);
  return count;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  SetUTF8mode(1);
  ExtNameStr kept;
  ExtNameStr keptMangled;
  std::unique_ptr<SystemFileDataSource> keptOpen;
  {
    const ExtNameStr password = ReadPassword();
    if (Work(argv[1], password) != 1001 + 1002 + 1002) return 1;
    if (argv[2] == std::string("keep")) {
      kept = keptMangled = password;
      PasswordCrypt().encrypt(keptMangled);
      keptOpen = std::make_unique<SystemFileDataSource>(ExtNameStr(argv[1]), password, false);
    }
  }
  std::cout << "ready" << std::endl;
  const Line end;
  return 0;
}
