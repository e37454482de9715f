// Collation by the process's locale, through ICU.

#include <unicode/ucol.h>
#include <unicode/uloc.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <utility>

#include "Platform/text/PresentEncoding.h"
#include "Platform/text/QUAVMB.h"

using namespace quavmb;

namespace {

// Returns the locale that the environment names for collation; empty when it names none.
std::string_view LocaleOfEnvironment() {
  for (const char* variable : {"LC_ALL", "LC_COLLATE", "LANG"}) {
    const char* value = std::getenv(variable);
    if (value != nullptr && *value != '\0') return value;
  }
  return {};
}

// Returns ICU's name of such a locale. It is empty (the root, which has no language) when there is none or it is "C" or
// "POSIX".
std::string CollationLocale(std::string_view locale) {
  const std::string_view language = locale.substr(0, locale.find_first_of(".@"));
  if (language.empty() || language == "C" || language == "POSIX") return {};
  char name[ULOC_FULLNAME_CAPACITY];
  UErrorCode status = U_ZERO_ERROR;
  uloc_canonicalize(std::string(locale).c_str(), name, sizeof name, &status);
  return U_SUCCESS(status) && status != U_STRING_NOT_TERMINATED_WARNING ? name : "";
}

icu::LocalUCollatorPointer OpenCollator(std::string_view locale) {
  UErrorCode status = U_ZERO_ERROR;
  icu::LocalUCollatorPointer collator(ucol_open(CollationLocale(locale).c_str(), &status));
  if (U_FAILURE(status)) throw std::bad_alloc();
  return collator;
}

// Returns the text as UTF-8, in `room` when it must be converted. All bytes that form no character become equal.
std::string_view AsUtf8(const Encoding& encoding, std::string_view text, std::string& room) {
  if (&encoding == &Encoding::Utf8() || encoding.IsPlain(text)) return text;
  encoding.ToUtf8(room, text);
  return room;
}

int Collate(const UCollator* collator, std::string_view a, std::string_view b) {
  const Encoding& encoding = PresentEncoding();
  std::string roomA;
  std::string roomB;
  const std::string_view textA = AsUtf8(encoding, a, roomA);
  const std::string_view textB = AsUtf8(encoding, b, roomB);
  UErrorCode status = U_ZERO_ERROR;
  const int order = ucol_strcollUTF8(collator, textA.data(), static_cast<int>(textA.size()), textB.data(),
                                     static_cast<int>(textB.size()), &status);
  if (U_FAILURE(status)) throw std::bad_alloc();
  return order;
}

// The collator of QUAVMBstrncoll_A, never destroyed.
const QUAVMBCollator& ProcessCollator() {
  static const QUAVMBCollator& collator = []() -> const QUAVMBCollator& {
    auto made = std::make_unique<QUAVMBCollator>();
    made->Init();
    return *made.release();
  }();
  return collator;
}

}  // namespace

struct QUAVMBCollator::Data {
  // Opening a collation is expensive, and most calls find the same locale.
  void Init() {
    const std::string_view present = LocaleOfEnvironment();
    if (!collator.isNull() && present == locale) return;
    std::string name(present);
    collator = OpenCollator(name);
    locale = std::move(name);
  }

  icu::LocalUCollatorPointer collator;  // null until Init
  std::string locale;                   // its name in the environment
};

QUAVMBCollator::QUAVMBCollator() : m_data(std::make_unique<Data>()) {}

QUAVMBCollator::~QUAVMBCollator() = default;

void QUAVMBCollator::Init() { m_data->Init(); }

int QUAVMBCollator::Compare(const char* a, int lengthA, const char* b, int lengthB) const {
  if (m_data->collator.isNull()) m_data->Init();
  const std::string_view textA = TextOf(a, lengthA);
  const std::string_view textB = TextOf(b, lengthB);
  if (textA == textB) return 0;
  const int order = Collate(m_data->collator.getAlias(), textA, textB);
  return order != 0 ? order : textA.compare(textB);
}

int QUAVMBstrncoll_A(const char* a, const char* b, int length) {
  return ProcessCollator().Compare(a, length, b, length);
}
