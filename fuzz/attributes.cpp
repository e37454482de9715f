// Parses attributes from any text, forms the text of the result and parses that again: both results are equal. No text
// ends the process.
//
//   input   1 byte: how many bytes the given length is shorter than the text
//           the text

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "datasrc/DatasourceAttributes.h"

namespace {

void Check(bool holds) {
  if (!holds) std::abort();
}

void ReadAgain(const DatasourceAttributes& attributes) {
  const std::string text = attributes.MakeString();
  DatasourceAttributes again;
  unsigned long consumed = 0;
  Check(DatasourceAttributes::Parse(text, again, &consumed));
  Check(consumed == text.size() && again == attributes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  const unsigned long length = text.size() - std::min<std::size_t>(data[0], text.size());
  DatasourceAttributes attributes;
  attributes.Define("there_before", {"value"});
  const DatasourceAttributes before = attributes;
  unsigned long consumed = 0;
  const bool isGood = DatasourceAttributes::Parse(text.c_str(), length, attributes, &consumed);
  Check(isGood ? consumed <= length : attributes == before);
  Check(consumed <= text.size());
  ReadAgain(attributes);
  return 0;
}
