// datasrc mangle FILE

#include <memory>
#include <string>

#include "Commands.h"
#include "PasswordFile.h"
#include "Platform/cipher/PasswordCrypt.h"

namespace tool {

namespace {

constexpr char kFooter[] =
    "Prints the mangled form of the password in the first line of FILE. It can stand wherever the\n"
    "password can, so that nobody reads the password in passing. It is a disguise and protects\n"
    "nothing: whoever has it has the password.";

void Mangle(const std::string& path) {
  ExtNameStr password = ReadFirstLine(path);
  PasswordCrypt().encrypt(password);
  Print(password.GetU8() + "\n");
}

}  // namespace

void AddMangleCommand(CLI::App& app) {
  const auto path = std::make_shared<std::string>();
  CLI::App* const command = app.add_subcommand("mangle", "Disguises a password, for scripts.");
  command->add_option("FILE", *path, "The file that has the password")->required()->type_name("");
  command->footer(kFooter);
  command->callback([path] { Mangle(*path); });
}

}  // namespace tool
