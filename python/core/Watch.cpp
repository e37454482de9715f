#include "core/Watch.h"

#include <unistd.h>

#include <utility>

#include "core/Gil.h"

namespace core {

namespace {

constexpr std::chrono::milliseconds kInterval{50};

// Python runs handlers of signals on its main thread only, which is the process's.
bool IsMainThread() { return gettid() == getpid(); }

}  // namespace

Watch::Watch(PyObject* progress, bool isOwn, std::string file)
    : m_progress(progress), m_isOwn(isOwn), m_file(std::move(file)), m_due(Clock::now() + kInterval) {
  Py_XINCREF(m_progress);
}

Watch::~Watch() {
  if ((m_progress == nullptr && m_exception == nullptr) || Py_IsInitialized() == 0) return;
  const GilHeld gil;
  Py_XDECREF(m_progress);
  Py_XDECREF(m_exception);
}

bool Watch::Continue(std::int64_t rows) {
  const bool signals = IsMainThread();
  if (!signals && m_progress == nullptr) return true;
  const auto now = Clock::now();
  if (now < m_due) return true;
  const bool goesOn = Look(rows, signals);
  m_due = Clock::now() + kInterval;
  return goesOn;
}

bool Watch::Finish(std::int64_t rows) { return m_progress == nullptr || Look(rows, false); }

bool Watch::Look(std::int64_t rows, bool signals) {
  const GilHeld gil;
  if (signals && PyErr_CheckSignals() != 0) {
    Keep();
    return false;
  }
  if (m_progress == nullptr) return true;
  PyObject* const result = PyObject_CallFunction(m_progress, "L", static_cast<long long>(rows));
  if (result == nullptr) {
    Keep();
    return false;
  }
  Py_DECREF(result);
  return true;
}

void Watch::Keep() {
  // Another library's error hides this one. A Ctrl-C must not be lost with it.
  if (!m_isOwn && PyErr_ExceptionMatches(PyExc_KeyboardInterrupt) != 0) PyErr_SetInterrupt();
  PyObject* type = nullptr;
  PyObject* trace = nullptr;
  Py_CLEAR(m_exception);
  PyErr_Fetch(&type, &m_exception, &trace);
  PyErr_NormalizeException(&type, &m_exception, &trace);
  Py_XDECREF(type);
  Py_XDECREF(trace);
}

bool Watch::RaiseKept() {
  if (m_exception == nullptr) return false;
  PyErr_SetObject(PyExceptionInstance_Class(m_exception), m_exception);
  Py_CLEAR(m_exception);
  return true;
}

}  // namespace core
