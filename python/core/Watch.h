// What goes on beside a stream: signals such as Ctrl-C, and the caller's report of progress. It also keeps why a stream
// failed: between the stream and Python may be another library, which makes an error of its own from the text.
//
// Threads: the stream's thread calls Continue and Finish, one at a time. The caller's thread takes the failure when the
// stream has stopped.

#ifndef PYTHON_CORE_WATCH_H
#define PYTHON_CORE_WATCH_H

#include <Python.h>

#include <chrono>
#include <cstdint>
#include <string>

namespace core {

class Watch {
 public:
  // `progress` is called with the number of rows, or null. The caller holds the GIL. `isOwn`: whether the package's own
  // code consumes the stream and asks for the exception afterwards. `file` is for errors of the stream.
  Watch(PyObject* progress, bool isOwn, std::string file);
  ~Watch();
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  // Each returns false when the work shall end: a signal's handler or the caller's function raised an exception, which is
  // kept. The GIL may be held or not. Now and then Continue takes it.
  bool Continue(std::int64_t rows);
  bool Finish(std::int64_t rows);

  // Keeps the text of a failure of the stream.
  void Fail(const char* text) { m_failure = text; }
  const std::string& FailureText() const { return m_failure; }
  const std::string& File() const { return m_file; }

  // Raises the exception that is kept, if any: returns after setting it for Python. The caller holds the GIL.
  bool RaiseKept();

 private:
  using Clock = std::chrono::steady_clock;

  bool Look(std::int64_t rows, bool signals);
  void Keep();

  PyObject* m_progress;
  bool m_isOwn;
  PyObject* m_exception = nullptr;
  std::string m_file;
  std::string m_failure;
  Clock::time_point m_due;
};

}  // namespace core

#endif
