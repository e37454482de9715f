// An open encrypted system file: a wrapper and enciphered bytes on disk, and a plain copy to read and write.
//
//   open      reads the file, deciphers all of it into the copy, and checks that the copy is a system file
//   read ...  work on the copy
//   endWrite  writes the wrapper, then enciphers the whole copy after it
//   close     closes the file
//
// The copy is a temporary file without a name, enciphered on disk with a key that only this process has: no other
// process can open it, and the disk holds no plain byte. It exists as long as this object and the copies of
// decrypted(). Format: docs/encryption.md.
//
// Modes are those of QUAV_FileStream. Every mode without the letter w reads the file first, so the file must exist and
// be encrypted under the password; that includes a.
//
// Failures: the functions return false, a short count or -1, with errno set; so does open when no temp directory is
// usable for the copy. good and error report a failure of the two streams, but not a refusal
// (EBADF, EINVAL).
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
  // Always asserts: handles share an object, which is never copied.
  CryptFile(const CryptFile& other);
  CryptFile& operator=(const CryptFile&) = delete;
  // Drops what was written and not enciphered.
  ~CryptFile() override;

  // Opens an object for the first time; do not open it again. The password is plain, not mangled; an empty one
  // fails with EINVAL, a wrong one with EBADMSG. A mode that writes makes the key of the new contents now: without a key
  // nothing is opened, and the file does not change. errno is ENOLCK when no memory can be locked for a key.
  bool open(const ExtNameStr& file, const ExtNameStr& password, const ExtNameStr& mode);
  // Changes the mode of an open file and moves the position to the start; it neither enciphers nor deciphers. The
  // password, plain or mangled, must be the one that the file was opened with: any other fails with EBADMSG and changes
  // nothing. A file that is open for writing stays so in a mode that only reads. A mode of the letter w fails with
  // EINVAL.
  bool changeMode(const ExtNameStr& password, const ExtNameStr& mode);
  // Enciphers the copy into the file and replaces its old contents. Returns false when the mode does not write, or when
  // anything fails: the contents of the file are then useless. But when the copy itself had failed, and when the disk
  // has no room for a longer file, the file is unchanged.
  bool endWrite();
  // Closes the file and enciphers nothing. Returns 0, or -1 when that fails. The copy can still be read.
  int close();

  // These work on the copy, as those of QUAV_FileStream do. A write fails with EBADF when the file is not open for
  // writing; in mode a it goes to the end.
  unsigned long read(void* buffer, unsigned long count);
  unsigned long write(const void* buffer, unsigned long count);
  int seek(long offset, SeekDirection direction);
  long tell() const;
  int flush() const;
  void reset();
  void clear();
  // Returns whether neither the copy nor the file has failed.
  bool good() const;
  // Returns the errno of the copy's first failure, else that of the file's, 0 for none. `clear` resets only the copy's.
  int error() const;
  bool isOpen() const;
  // Returns whether the mode allows writing.
  bool isForWriting() const;
  // Returns whether the position is at or after the end.
  bool isEndOfFile() const;
  // The file's name as it was opened.
  ExtNameStr filename() const;

  // The copy as a stream; the reference lives as long as this object. A copy of that stream has its own position, and
  // may outlive this object.
  QUAV_FileStream& decrypted() const;

 private:
  struct DATASRC_LOCAL Data;
  std::unique_ptr<Data> m_data;
};

#endif
