// An encrypted system file at work: a wrapper and enciphered bytes on disk, and a plain copy to read and write.
//
//   open      reads the file, deciphers all of it into the copy, and looks whether a system file came out
//   read ...  work on the copy
//   endWrite  writes the wrapper and enciphers all of the copy behind it
//   close     lets the file go
//
// The copy is a temporary file without a name, enciphered on disk by a key of the process alone: no plain byte lies
// where another process, or whoever finds the disk, could read it. It goes with the object. Format:
// docs/encryption.md.
//
// Modes are those of QUAV_FileStream. A mode that writes behind what is there (a, r+) reads the file first, so it must
// be there and be an encrypted one. Every failure is a false or short answer, with errno set.
//
// Threads: one thread at a time.

#ifndef DATASRC_CRYPTFILE_H
#define DATASRC_CRYPTFILE_H

#include <memory>

#include "Platform/Export.h"
#include "Platform/stream/ExtNameStr.h"
#include "Platform/stream/QUAV_FileStream.h"
#include "Platform/threads/QUAV_RefCntObject.h"

class DATASRC_API CryptFile : public QUAV_RefCntObject {
 public:
  CryptFile();
  // Asserts: one is shared by its handle, never copied.
  CryptFile(const CryptFile& other);
  CryptFile& operator=(const CryptFile&) = delete;
  // Drops what was written and not enciphered.
  ~CryptFile() override;

  // The password is plain, not mangled; it is not empty. Once open an object is not opened again. In a mode that writes
  // the key of the new contents is made now: without one nothing is opened, and the file stays as it is. errno is
  // ENOLCK when no memory can be locked for a key.
  bool open(const ExtNameStr& file, const ExtNameStr& password, const ExtNameStr& mode);
  // Changes the mode of an open file. Nothing is read or written; the position is the start. The password, plain or
  // mangled, must be the one that the file was opened with: with any other the call fails with EBADMSG and changes
  // nothing.
  bool changeMode(const ExtNameStr& password, const ExtNameStr& mode);
  // Enciphers the copy into the file, in place of what stands there. False when the mode does not write, and when
  // anything fails: what stands in the file then is no use, unless the copy itself had failed, which leaves the file as
  // it is.
  bool endWrite();
  // Nothing is enciphered by it. 0, or -1 when closing fails. The copy stays, and can still be read.
  int close();

  // Of the copy, as those of QUAV_FileStream. A file that is open for reading takes no writes, and one that is open
  // for appending takes them at its end.
  unsigned long read(void* buffer, unsigned long count);
  unsigned long write(const void* buffer, unsigned long count);
  int seek(long offset, SeekDirection direction);
  long tell() const;
  int flush() const;
  void reset();
  void clear();
  // Whether neither the copy nor the file has failed.
  bool good() const;
  // The errno of what failed first, 0 for none.
  int error() const;
  bool isOpen() const;
  // Whether the mode is one that writes.
  bool isForWriting() const;
  // Whether the position is that of the end, or behind it.
  bool isEndOfFile() const;
  // The file's name as it was opened.
  ExtNameStr filename() const;

  // The copy as a stream. A copy of that stream has a position of its own, and lives as long as it wants.
  QUAV_FileStream& decrypted() const;

 private:
  struct DATASRC_LOCAL Data;
  std::unique_ptr<Data> m_data;
};

#endif
