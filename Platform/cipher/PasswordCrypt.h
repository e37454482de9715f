// The mangled form of a password: a disguise for scripts, so that a passing reader does not see the password.
//
// It protects nothing. It contains no secret: everybody who has the mangled form can get the password, with this class
// or with a few lines of a script. Protect a file that holds a mangled form as you protect one that holds the password.
//
//   mangled := "mangled1:", then two hexadecimal digits for each byte of the password in UTF-8 and of a check after it
//
// Threads: the class has no state.

#ifndef PLATFORM_CIPHER_PASSWORDCRYPT_H
#define PLATFORM_CIPHER_PASSWORDCRYPT_H

#include "Platform/Export.h"

class ExtNameStr;

class DATASRC_API PasswordCrypt {
 public:
  PasswordCrypt();
  PasswordCrypt(const PasswordCrypt&) = delete;
  PasswordCrypt& operator=(const PasswordCrypt&) = delete;
  ~PasswordCrypt();

  // Replaces the mangled form by the password. Text that is no mangled form becomes empty, and the function returns
  // false.
  bool decrypt(ExtNameStr& password) const;
  // Replaces a password by its mangled form.
  void encrypt(ExtNameStr& password) const;
};

#endif
