// A failed condition as an exception, for callers that report their own that way. The library itself never throws it:
// its assertions end the process.
//
// Threads: a value.

#ifndef DATASRC_QUAV_ASSERTFAILED_H
#define DATASRC_QUAV_ASSERTFAILED_H

#include <exception>
#include <string>

#include "Platform/Export.h"

class DATASRC_API QUAV_AssertFailed : public std::exception {
 public:
  // Copies the texts; a null one reads as such.
  QUAV_AssertFailed(const char* condition, const char* file, int line);
  ~QUAV_AssertFailed() override;

  const char* Condition() const { return m_condition.c_str(); }
  const char* File() const { return m_file.c_str(); }
  int Line() const { return m_line; }
  // The condition.
  const char* what() const noexcept override { return m_condition.c_str(); }

 private:
  std::string m_condition;
  std::string m_file;
  int m_line;
};

#endif
