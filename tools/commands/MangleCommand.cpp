// datasrc mangle FILE

#include <memory>
#include <string>

#include "Platform/cipher/PasswordCrypt.h"
#include "tools/commandline/PasswordFile.h"
#include "tools/commands/Commands.h"
#include "tools/files/Output.h"

namespace tool {

namespace {

constexpr char kFooter[] =
    "Prints the mangled form of the password in the first line of FILE. A password file may contain\n"
    "it instead of the password, so that people do not read the password by chance. It is a disguise\n"
    "and protects nothing: anyone who has it has the password.";

void Mangle(const std::string& path) {
  RefuseInputAsOutput(path, "", "password file");
  ExtNameStr password = ReadFirstLine(path);
  PasswordCrypt().encrypt(password);
  Print(password.GetU8() + "\n");
}

}  // namespace

void AddMangleCommand(CommandLine& line) {
  const auto path = std::make_shared<std::string>();
  Command command = line.Add("mangle", "Disguises a password, for scripts.");
  command.Argument("FILE", *path, "The file with the password");
  command.Footer(kFooter);
  command.Example("datasrc mangle password.txt > mangled.txt", "a file that --password-file accepts, too");
  command.Work([path] { Mangle(*path); });
}

}  // namespace tool
