#include "datasrc/ReadLine.h"

namespace {

// Returns the next byte. A carriage return, with or without a line feed after it, becomes one line feed.
int NextByte(std::FILE* file) {
  const int byte = std::getc(file);
  if (byte != '\r') return byte;
  const int behind = std::getc(file);
  if (behind != '\n' && behind != EOF) std::ungetc(behind, file);
  return '\n';
}

}  // namespace

char* ReadLine(char* buffer, int size, std::FILE* file) {
  if (size < 1) return nullptr;
  int length = 0;
  bool atEnd = false;
  while (length < size - 1) {
    const int byte = NextByte(file);
    atEnd = byte == EOF;
    if (atEnd) break;
    if (byte == '\0') continue;
    buffer[length++] = static_cast<char>(byte);
    if (byte == '\n') break;
  }
  buffer[length] = '\0';
  return atEnd && length == 0 ? nullptr : buffer;
}
