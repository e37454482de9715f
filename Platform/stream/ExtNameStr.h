// A file name or a password in two forms: in the process's present encoding (generic), and in UTF-8. Setting one form
// sets the other, too.
//
// The system gets the generic form. A name that cannot be converted has the same bytes in both forms.
//
// The text may be a password, so none of it stays in memory after a new one is set or the object is destroyed.
//
// Threads: a value; one thread at a time for each object.

#ifndef PLATFORM_STREAM_EXTNAMESTR_H
#define PLATFORM_STREAM_EXTNAMESTR_H

#include <string>

#include "Platform/Export.h"

class DATASRC_API ExtNameStr {
 public:
  ExtNameStr() = default;
  // Takes the name in its generic form; null is the empty name.
  explicit ExtNameStr(const char* generic);
  explicit ExtNameStr(const std::string& generic);
  ExtNameStr(const ExtNameStr&) = default;
  // The name that is moved becomes empty.
  ExtNameStr(ExtNameStr&& other) noexcept;
  ExtNameStr& operator=(const ExtNameStr& other);
  ExtNameStr& operator=(ExtNameStr&& other) noexcept;
  ~ExtNameStr();

  bool Empty() const { return m_generic.empty(); }
  void Clear();
  void SetGeneric(const std::string& name);
  void SetU8(const std::string& name);
  const std::string& GetGeneric() const { return m_generic; }
  const std::string& GetU8() const { return m_u8; }

  // Returns the result of access(2) for the file: 0 when the access is allowed. Mode 0 asks whether the file exists,
  // 2 whether it may be written, 4 whether it may be read.
  int Access(int mode) const;

  bool operator==(const ExtNameStr&) const = default;

 private:
  std::string m_generic;
  std::string m_u8;
};

#endif
