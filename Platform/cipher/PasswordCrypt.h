// The mangled form of a password: a disguise for scripts, so that nobody reads it in passing.
//
// It protects nothing. There is no secret in it: whoever has the mangled form has the password, by this class or by a
// few lines of a script. Keep a file that holds one as you keep one that holds the password itself.
//
//   mangled := "mangled1:", then two hexadecimal digits for each byte of the password in UTF-8 and of a check behind it
//
// Threads: none of its own.

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

  // Turns the mangled form into the password, in place. What is no mangled form has no password behind it: it becomes
  // empty, and false is answered.
  bool decrypt(ExtNameStr& password) const;
  // Turns a password into its mangled form, in place.
  void encrypt(ExtNameStr& password) const;
};

#endif
