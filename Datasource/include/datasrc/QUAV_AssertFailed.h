// A failed condition as an exception, for callers that report their own conditions with it. The library never throws
// it: its assertions end the process.
//
// Threads: a value; one thread at a time for each object.

#ifndef DATASRC_QUAV_ASSERTFAILED_H
#define DATASRC_QUAV_ASSERTFAILED_H

#include <exception>
#include <string>

#include "Platform/Export.h"

class DATASRC_API QUAV_AssertFailed : public std::exception {
 public:
  // Copies the texts. For a null pointer it stores a text that says so.
  QUAV_AssertFailed(const char* condition, const char* file, int line);
  ~QUAV_AssertFailed() override;

  // The texts live as long as the object.
  const char* Condition() const { return m_condition.c_str(); }
  const char* File() const { return m_file.c_str(); }
  int Line() const { return m_line; }
  // Returns the condition.
  const char* what() const noexcept override { return m_condition.c_str(); }

 private:
  std::string m_condition;
  std::string m_file;
  int m_line;
};

#endif
