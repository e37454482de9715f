// Objects that restore process-wide state at the end of a test.

#ifndef PLATFORM_TEXT_TESTS_RESTORE_H
#define PLATFORM_TEXT_TESTS_RESTORE_H

#include <cstdlib>
#include <optional>
#include <string>

#include "Platform/text/QUAVMB.h"

// Restores the settings of the present encoding. Starts with the UTF-8 mode off and no converter.
class RestoreEncoding {
 public:
  RestoreEncoding() : m_utf8Mode(qUTF8mode()), m_defaultCodePage(QUAVMBDefaultCodePage()) {
    char name[kCodePageNameSize];
    m_converter = QUAVMBConverterName_A(0, name);
    SetUTF8mode(0);
    QUAVMBConverterSet_A("");
  }
  // Makes the code page the present one.
  explicit RestoreEncoding(const char* codePage) : RestoreEncoding() { QUAVMBConverterSet_A(codePage); }
  RestoreEncoding(const RestoreEncoding&) = delete;
  RestoreEncoding& operator=(const RestoreEncoding&) = delete;
  ~RestoreEncoding() {
    SetUTF8mode(m_utf8Mode);
    QUAVMBDefaultCodePageSet_A(m_defaultCodePage.c_str());
    QUAVMBConverterSet_A(m_converter.c_str());
  }

 private:
  int m_utf8Mode;
  std::string m_defaultCodePage;
  std::string m_converter;
};

// Sets a variable of the environment, or removes it with null, and restores it.
class RestoreVariable {
 public:
  RestoreVariable(const char* name, const char* value) : m_name(name) {
    if (const char* before = std::getenv(name)) m_before = before;
    Set(value);
  }
  RestoreVariable(const RestoreVariable&) = delete;
  RestoreVariable& operator=(const RestoreVariable&) = delete;
  ~RestoreVariable() { Set(m_before ? m_before->c_str() : nullptr); }

 private:
  void Set(const char* value) {
    if (value != nullptr) {
      setenv(m_name.c_str(), value, 1);
    } else {
      unsetenv(m_name.c_str());
    }
  }

  std::string m_name;
  std::optional<std::string> m_before;
};

#endif
