// Conversion between UTF-8 and a code page.

#include <algorithm>
#include <cstring>

#include "Platform/text/Encoding.h"
#include "Platform/text/QUAVMB.h"

using namespace quavmb;

struct QUAVMBConverter {
  const Encoding& codePage;
  std::string converted;  // working memory, kept from call to call
};

namespace {

enum class Direction { fromUtf8, toUtf8 };

// Converts into the converter's memory and returns whether that was exact.
bool Convert(QUAVMBConverter& converter, Direction direction, std::string_view text) {
  return direction == Direction::fromUtf8 ? converter.codePage.FromUtf8(converter.converted, text)
                                          : converter.codePage.ToUtf8(converter.converted, text);
}

int ConvertText(QUAVMBConverter& converter, Direction direction, std::string& output, const std::string& input) {
  if (converter.codePage.IsPlain(input)) {
    output = input;
    return 0;
  }
  const bool exact = Convert(converter, direction, input);
  output = converter.converted;  // not before: the output may be the input
  return exact ? 0 : 1;
}

// Writes as many whole characters of the text as fit, and returns their length in bytes.
std::size_t WriteField(char* output, std::size_t capacity, const Encoding& encoding, std::string_view text) {
  const std::size_t length = text.size() <= capacity ? text.size() : encoding.WholeCharacters(text, capacity);
  if (length > 0) std::memmove(output, text.data(), length);
  return length;
}

int ConvertField(QUAVMBConverter& converter, Direction direction, char* output, int capacity, std::string_view input,
                 int* lost) {
  const Encoding& target = direction == Direction::fromUtf8 ? converter.codePage : Encoding::Utf8();
  const bool plain = converter.codePage.IsPlain(input);
  const bool exact = plain || Convert(converter, direction, input);
  const std::string_view converted = plain ? input : converter.converted;
  const std::size_t room = static_cast<std::size_t>(std::max(capacity, 0));
  const std::size_t length = WriteField(output, room, target, converted);
  if (lost != nullptr) *lost = exact && length == converted.size() ? 0 : 1;
  return static_cast<int>(length);
}

}  // namespace

QUAVMBConverter* QUAVMBConverterNew_A(const char* name) {
  const Encoding* codePage = Encoding::Find(name);
  return codePage != nullptr ? new QUAVMBConverter{*codePage, {}} : nullptr;
}

void QUAVMBConverterDelete_A(QUAVMBConverter* converter) { delete converter; }

bool QUAVMBConverterKeepsAscii(const QUAVMBConverter* converter) { return converter->codePage.HasAscii(); }

int QUAVMBU8ToCodePage(QUAVMBConverter* converter, std::string& output, const std::string& input) {
  return ConvertText(*converter, Direction::fromUtf8, output, input);
}

int QUAVMBCodePageToU8(QUAVMBConverter* converter, std::string& output, const std::string& input) {
  return ConvertText(*converter, Direction::toUtf8, output, input);
}

int QUAVMB8toCodePage(QUAVMBConverter* converter, char* output, int capacity, const char* input, int length,
                      int* lost) {
  return ConvertField(*converter, Direction::fromUtf8, output, capacity, TextOf(input, length), lost);
}

int QUAVMBCodePageto8(QUAVMBConverter* converter, char* output, int capacity, const char* input, int length,
                      int* lost) {
  return ConvertField(*converter, Direction::toUtf8, output, capacity, TextOf(input, length), lost);
}
