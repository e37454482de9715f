// A view from UTF-8 to a code page: text shrinks, and widths stay the same.

#include "datasrc/CodePageDataSource.h"

#include "Platform/Assert.h"
#include "systemfile/SystemFileException.h"
#include "views/EncodingView.h"

namespace {

constexpr EncodingDirection kToCodePage{
    .convertText = QUAVMBU8ToCodePage, .convertField = QUAVMB8toCodePage, .viewWidth = [](int width) { return width; }};

}  // namespace

struct CodePageDataSource::Data : EncodingViewData {
  Data(const std::string& encoding, bool useBySave) : EncodingViewData(encoding), _useBySave(useBySave) {}

  bool _useBySave;  // the view is used for saving
};

class CodePageDataSource::Iterator : public EncodingViewIterator {
 public:
  Iterator(const CodePageDataSource& view, const Data& data, OBS* buffer)
      : EncodingViewIterator(view, data, kToCodePage, buffer) {}
};

CodePageDataSource::CodePageDataSource(const QUAV_DataSource& source, const std::string& encoding,
                                       ErrorMonitor* monitor, bool useBySave)
    : QUAV_DataSource(&source), _my(std::make_unique<Data>(encoding, useBySave)) {
  QUAV_ASSERT(_my->_converter, "_my->_converter");
  ConvertDictionary(*this, *_my, kToCodePage, nullptr);
  EndConversion(*_my, useBySave ? kLostOnSaving : kLostToCodePage, monitor);
}

CodePageDataSource::~CodePageDataSource() = default;

QUAV_InputCaseIterator* CodePageDataSource::MakeIterator(OBS* buffer) const {
  return new Iterator(*this, *_my, buffer);
}

long long CodePageDataSource::RowCount() const { return GetParentSource()->RowCount(); }

std::string CodePageDataSource::CharacterEncoding() const { return _my->_encoding; }

void CodePageDataSource::SetUseBySaveCodepage(bool useBySave) { _my->_useBySave = useBySave; }
