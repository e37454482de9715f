// Assertions as exceptions, for code that must find out whether some work would end the process.
//
//   try {
//     const AssertionsThrow scope;
//     Work();
//   } catch (const AssertionFailure& failure) {
//     failure.Text()                       the assertion that would have ended the process
//   }
//
// While a scope lives, an assertion that fails on its thread throws instead of ending the process. The objects on which
// the work was done are then fit for destruction only. An assertion that fails in a destructor while an exception is on
// its way still ends the process with its text. Destructors and noexcept functions that the work calls must not
// assert: nothing can be thrown out of them.
//
// Scopes may be nested. Threads: each has its own; a thread that is started within a scope is outside of it.

#ifndef PLATFORM_ASSERTIONSTHROW_H
#define PLATFORM_ASSERTIONSTHROW_H

#include "Platform/Export.h"

// Deliberate: no std::exception, so that no handler for faults of files or memory takes it for one.
class DATASRC_API AssertionFailure {
 public:
  // All three live as long as the program.
  AssertionFailure(const char* text, const char* source, int line) : m_text(text), m_source(source), m_line(line) {}

  const char* Text() const { return m_text; }
  const char* Source() const { return m_source; }
  int Line() const { return m_line; }

 private:
  const char* m_text;
  const char* m_source;
  int m_line;
};

class DATASRC_API AssertionsThrow {
 public:
  AssertionsThrow();
  ~AssertionsThrow();
  AssertionsThrow(const AssertionsThrow&) = delete;
  AssertionsThrow& operator=(const AssertionsThrow&) = delete;

 private:
  int m_outerScope;
};

#endif
