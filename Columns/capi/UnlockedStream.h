// A caller's stream for code that holds a lock. The lock is open while code of the stream runs: that may open files, also
// on other threads for which it waits.
//
// Threads: one thread at a time, which holds the lock.

#ifndef COLUMNS_CAPI_UNLOCKEDSTREAM_H
#define COLUMNS_CAPI_UNLOCKEDSTREAM_H

#include <mutex>
#include <shared_mutex>

#include "datasrc/ArrowAbi.h"

namespace capi {

class UnlockedStream {
 public:
  using Lock = std::unique_lock<std::shared_mutex>;

  // Takes the stream. The lock outlives this object.
  UnlockedStream(ArrowArrayStream* stream, Lock& lock) : m_stream(*stream), m_lock(lock) { stream->release = nullptr; }
  UnlockedStream(const UnlockedStream&) = delete;
  UnlockedStream& operator=(const UnlockedStream&) = delete;
  ~UnlockedStream() {
    const Unlocked unlocked(m_lock);
    if (m_stream.release != nullptr) m_stream.release(&m_stream);
  }

  // Returns the stream as it is for the holder of the lock. It must not outlive this object.
  ArrowArrayStream Presented() {
    ArrowArrayStream stream{};
    stream.get_schema = [](ArrowArrayStream* self, ArrowSchema* out) {
      const Unlocked unlocked(Of(self).m_lock);
      return Of(self).m_stream.get_schema(&Of(self).m_stream, out);
    };
    stream.get_next = [](ArrowArrayStream* self, ArrowArray* out) {
      const Unlocked unlocked(Of(self).m_lock);
      return Of(self).m_stream.get_next(&Of(self).m_stream, out);
    };
    stream.get_last_error = [](ArrowArrayStream* self) { return Of(self).m_stream.get_last_error(&Of(self).m_stream); };
    if (m_stream.release != nullptr) stream.release = [](ArrowArrayStream* self) { self->release = nullptr; };
    stream.private_data = this;
    return stream;
  }

 private:
  class Unlocked {
   public:
    explicit Unlocked(Lock& lock) : m_lock(lock) { m_lock.unlock(); }
    Unlocked(const Unlocked&) = delete;
    Unlocked& operator=(const Unlocked&) = delete;
    ~Unlocked() { m_lock.lock(); }

   private:
    Lock& m_lock;
  };

  static UnlockedStream& Of(ArrowArrayStream* stream) { return *static_cast<UnlockedStream*>(stream->private_data); }

  ArrowArrayStream m_stream;
  Lock& m_lock;
};

}  // namespace capi

#endif
