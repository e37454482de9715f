// Memory for keys and passwords.
//
// Secret bytes lie in pages of their own, which are neither swapped out nor part of a core dump, and are wiped before
// the system gets them back. Text that cannot live there is wiped when it goes (Wipe).
//
// Threads: a value that is not copied.

#ifndef PLATFORM_STREAM_SECRETBYTES_H
#define PLATFORM_STREAM_SECRETBYTES_H

#include <cstddef>
#include <memory>
#include <string>

class SecretBytes {
 public:
  // `size` zero bytes. Null, with errno set, when there is no memory, or none that can be locked: no secret is held
  // where the swap may show it.
  static std::unique_ptr<SecretBytes> Make(std::size_t size);
  // The same, filled with random bytes. Null, with errno set, also when there are none.
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

// Leaves nothing of the text in its memory, what it held before it became shorter included, and makes it empty.
void Wipe(std::string& text);

#endif
