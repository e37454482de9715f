// A file name or a password, held in two forms: as the process's present encoding writes it (generic), and in UTF-8.
// Whoever sets the one form sets the other with it.
//
// The generic form is what the system is given: a name that does not convert keeps its bytes in both forms.
//
// It may be a password, so nothing of it stays in memory once it is set anew or goes.
//
// Threads: a value; one thread at a time for each object.

#ifndef PLATFORM_STREAM_EXTNAMESTR_H
#define PLATFORM_STREAM_EXTNAMESTR_H

#include <string>

#include "Platform/Export.h"

class DATASRC_API ExtNameStr {
 public:
  ExtNameStr() = default;
  // The name in its generic form; null is the empty name.
  explicit ExtNameStr(const char* generic);
  explicit ExtNameStr(const std::string& generic);
  ExtNameStr(const ExtNameStr&) = default;
  ExtNameStr& operator=(const ExtNameStr& other);
  ~ExtNameStr();

  bool Empty() const { return m_generic.empty(); }
  void Clear();
  void SetGeneric(const std::string& name);
  void SetU8(const std::string& name);
  const std::string& GetGeneric() const { return m_generic; }
  const std::string& GetU8() const { return m_u8; }

  // What access(2) answers for the file: 0 when it is allowed. Mode 0 asks whether the file is there, 2 whether it may
  // be written, 4 whether it may be read.
  int Access(int mode) const;

  bool operator==(const ExtNameStr&) const = default;

 private:
  std::string m_generic;
  std::string m_u8;
};

#endif
