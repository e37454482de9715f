// Memory for keys and passwords.
//
// Secret bytes have their own pages, which are never swapped out and are no part of a core dump. They are wiped
// before the system gets them back. Text that cannot be there is wiped before it is destroyed (Wipe).
//
// Threads: a value that is not copied.

#ifndef PLATFORM_STREAM_SECRETBYTES_H
#define PLATFORM_STREAM_SECRETBYTES_H

#include <cstddef>
#include <memory>
#include <string>

class SecretBytes {
 public:
  // Makes `size` zero bytes. Returns null, with errno set, when there is no memory or none can be locked: a secret is
  // never in memory that could be swapped to disk. Choice: errno is ENOLCK if no memory can be locked. No call on a
  // file gives that, so callers can say what is the matter.
  static std::unique_ptr<SecretBytes> Make(std::size_t size);
  // Makes random bytes. Returns null, with errno set, in the same cases and when there are no random bytes.
  static std::unique_ptr<SecretBytes> MakeRandom(std::size_t size);

  SecretBytes(const SecretBytes&) = delete;
  SecretBytes& operator=(const SecretBytes&) = delete;
  ~SecretBytes();

  unsigned char* Data() { return m_bytes; }
  const unsigned char* Data() const { return m_bytes; }
  std::size_t Size() const { return m_size; }

 private:
  explicit SecretBytes(std::size_t size) : m_size(size) {}

  bool LockPages();

  std::size_t m_size;
  unsigned char* m_bytes = nullptr;  // null: no pages
};

// Wipes the whole memory of the text, including what it held before it became shorter, and makes the text empty.
void Wipe(std::string& text);

#endif
