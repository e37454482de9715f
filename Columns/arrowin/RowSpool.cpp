#include "Columns/arrowin/RowSpool.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "Platform/messages/ThrowError.h"

namespace arrowin {

namespace {

constexpr int kNotWritten = 1002;
constexpr int kNotReadBack = 1003;

// A stream without an errno still came up short: EIO.
[[noreturn]] void ThrowFault(int number, const QUAV_TempFile& file) {
  const int error = file.Error() != 0 ? file.Error() : EIO;
  ThrowError::String2(kDatasrcCatalog, number, file.Name(), std::strerror(error));
}

}  // namespace

RowSpool::RowSpool(bool isSecret)
    : m_file(isSecret ? std::make_unique<QUAV_TempFile>("rows", true) : std::make_unique<QUAV_TempFile>("rows")) {}

void RowSpool::Write(const void* bytes, std::size_t size) {
  if (size != 0 && m_file->Write(bytes, size) != size) ThrowFault(kNotWritten, *m_file);
}

void RowSpool::Read(void* bytes, std::size_t size) {
  if (size != 0 && m_file->Read(bytes, size) != size) ThrowFault(kNotReadBack, *m_file);
}

template <class Container>
void RowSpool::WriteAll(const Container& values) {
  const std::size_t size = values.size();
  Write(&size, sizeof size);
  Write(values.data(), size * sizeof(typename Container::value_type));
}

template <class Container>
void RowSpool::ReadAll(Container& values) {
  std::size_t size = 0;
  Read(&size, sizeof size);
  values.resize(size);
  Read(values.data(), size * sizeof(typename Container::value_type));
}

void RowSpool::Add(const ArrivedRows& rows) {
  Write(&rows.firstRow, sizeof rows.firstRow);
  Write(&rows.rows, sizeof rows.rows);
  for (const ArrivedColumn& column : rows.columns) {
    WriteAll(column.numbers);
    WriteAll(column.sizes);
    WriteAll(column.text);
  }
  ++m_left;
}

// A copy of the file can read all that was flushed.
void RowSpool::Rewind() {
  m_file->Flush();
  if (!m_file->Good()) ThrowFault(kNotWritten, *m_file);
  auto reader = std::make_unique<QUAV_TempFile>(*m_file);
  reader->Seek(0, kSeekFromStart);
  m_file = std::move(reader);
}

bool RowSpool::Next(ArrivedRows& rows) {
  if (m_left == 0) return false;
  Read(&rows.firstRow, sizeof rows.firstRow);
  Read(&rows.rows, sizeof rows.rows);
  for (ArrivedColumn& column : rows.columns) {
    ReadAll(column.numbers);
    ReadAll(column.sizes);
    ReadAll(column.text);
  }
  --m_left;
  return true;
}

}  // namespace arrowin
