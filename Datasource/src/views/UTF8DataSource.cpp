// A view from a code page to UTF-8: text grows, and the strings of the view are wider than the parent's.

#include "datasrc/UTF8DataSource.h"

#include <algorithm>

#include "Platform/Assert.h"
#include "systemfile/SystemFileException.h"
#include "views/EncodingView.h"

namespace {

// The most bytes of UTF-8 that a byte of any code page can become. It is not checked whether a text needs them.
constexpr int kMostBytesForAByte = 3;

constexpr EncodingDirection kToUtf8{
    .convertText = QUAVMBCodePageToU8, .convertField = QUAVMBCodePageto8, .viewWidth = [](int width) {
      return std::min(kMostBytesForAByte * width, MAX_STRING_TYPE);
    }};

}  // namespace

struct UTF8DataSource::Data : EncodingViewData {
  using EncodingViewData::EncodingViewData;
};

class UTF8DataSource::Iterator : public EncodingViewIterator {
 public:
  Iterator(const UTF8DataSource& view, const Data& data, OBS* buffer)
      : EncodingViewIterator(view, data, kToUtf8, buffer) {}
};

UTF8DataSource::UTF8DataSource(const QUAV_DataSource& source, const std::string& encoding, ErrorMonitor* monitor)
    : QUAV_DataSource(&source), _my(std::make_unique<Data>(encoding)) {
  QUAV_ASSERT(_my->_converter, "_my->_converter");
  ConvertDictionary(*this, *_my, kToUtf8, monitor);
  EndConversion(*_my, kLostToUtf8, monitor);
}

UTF8DataSource::~UTF8DataSource() = default;

QUAV_InputCaseIterator* UTF8DataSource::MakeIterator(OBS* buffer) const { return new Iterator(*this, *_my, buffer); }

long long UTF8DataSource::RowCount() const { return GetParentSource()->RowCount(); }

std::string UTF8DataSource::CharacterEncoding() const { return _my->_encoding; }
