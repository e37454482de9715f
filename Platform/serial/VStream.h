// Serialisation: a stream either stores values or loads them, so one routine of an object serves both directions.
//
//   void Point::Serialize(VStream& stream) { stream.Int(x); stream.Int(y); }
//
// Format: numbers in the machine's byte order, one after the other: an integer in 4 bytes, a boolean in 1 (not 0 is
// true), a value in 8.
//
// Failures: after a failure Good() returns false. A loading stream that has no more bytes gives 0 and false from then
// on. A storing stream that cannot take more bytes stores nothing from then on. The streams throw nothing.
//
// Threads: one thread at a time.

#ifndef PLATFORM_SERIAL_VSTREAM_H
#define PLATFORM_SERIAL_VSTREAM_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "Platform/Export.h"

class QUAV_StrBaseIO;

class DATASRC_API VStream {
 public:
  enum Direction { kStoring, kLoading };

  explicit VStream(Direction direction) : m_direction(direction) {}
  VStream(const VStream&) = delete;
  VStream& operator=(const VStream&) = delete;
  virtual ~VStream();

  bool IsLoading() const { return m_direction == kLoading; }
  bool Good() const { return m_good; }

  // Store the argument, or load it.
  void Int(int& number);
  void Bool(bool& flag);
  void Value(std::uint64_t& bits);

 protected:
  // Transfer all of the bytes, or return false.
  virtual bool Store(const void* bytes, std::size_t size) = 0;
  virtual bool Load(void* bytes, std::size_t size) = 0;

 private:
  void Move(void* bytes, std::size_t size);

  Direction m_direction;
  bool m_good = true;
};

// A stream in memory.
class DATASRC_API VMemoryStream : public VStream {
 public:
  // The first constructor makes a storing stream, the second one loads from the bytes.
  VMemoryStream() : VStream(kStoring) {}
  explicit VMemoryStream(const std::string& bytes) : VStream(kLoading), m_bytes(bytes) {}

  const std::string& Bytes() const { return m_bytes; }

 protected:
  bool Store(const void* bytes, std::size_t size) override;
  bool Load(void* bytes, std::size_t size) override;

 private:
  std::string m_bytes;
  std::size_t m_position = 0;
};

// A stream on an open file, from the file's position on. It does not own the file.
class DATASRC_API VFileStream : public VStream {
 public:
  VFileStream(QUAV_StrBaseIO& file, Direction direction) : VStream(direction), m_file(file) {}

 protected:
  bool Store(const void* bytes, std::size_t size) override;
  bool Load(void* bytes, std::size_t size) override;

 private:
  QUAV_StrBaseIO& m_file;
};

#endif
