// The GIL for code that does not know whether its thread holds it: the operations of a stream are called by anybody.

#ifndef PYTHON_CORE_GIL_H
#define PYTHON_CORE_GIL_H

#include <Python.h>

// CPython exports it, but leaves it out of the headers of the stable interface.
extern "C" int PyGILState_Check(void);

namespace core {

// Holds the GIL.
class GilHeld {
 public:
  GilHeld() : m_state(PyGILState_Ensure()) {}
  ~GilHeld() { PyGILState_Release(m_state); }
  GilHeld(const GilHeld&) = delete;
  GilHeld& operator=(const GilHeld&) = delete;

 private:
  PyGILState_STATE m_state;
};

// Lets the GIL go, if the thread holds it.
class GilFree {
 public:
  GilFree() : m_thread(PyGILState_Check() != 0 ? PyEval_SaveThread() : nullptr) {}
  ~GilFree() {
    if (m_thread != nullptr) PyEval_RestoreThread(m_thread);
  }
  GilFree(const GilFree&) = delete;
  GilFree& operator=(const GilFree&) = delete;

 private:
  PyThreadState* m_thread;
};

}  // namespace core

#endif
