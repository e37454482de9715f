// What the two encoding views share: the conversion of a dictionary, the plan for a case, and the iterator. A view
// itself tells only which way its text goes (EncodingDirection).
//
// Threads: a dictionary is converted on one thread; the plan is read-only from then on, and each iterator has a
// converter of its own.

#ifndef DATASRC_SRC_VIEWS_ENCODINGVIEW_H
#define DATASRC_SRC_VIEWS_ENCODINGVIEW_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Platform/messages/ErrorMonitor.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/QUAV_DataSource.h"
#include "datasrc/QUAV_InputCaseIterator.h"

struct EncodingDirection {
  int (*convertText)(QUAVMBConverter*, std::string& output, const std::string& input);
  int (*convertField)(QUAVMBConverter*, char* output, int capacity, const char* input, int length, int* lost);
  // The width in the view of a string of the parent, in bytes.
  int (*viewWidth)(int width);
};

// The body of a view.
struct EncodingViewData {
  // What becomes of a stretch of a case. The targets lie one behind the other.
  struct Copier {
    std::uint32_t sourceCell;  // the first one in the parent's case
    std::uint32_t cells;       // in the view's case
    std::uint16_t width;       // 0 for a run of numbers, else the parent's width of the string, in bytes

    // In the parent's case.
    std::uint32_t SourceCells() const { return width == 0 ? cells : CellCount(width); }
    bool operator==(const Copier&) const = default;
  };

  explicit EncodingViewData(const std::string& encoding)
      : _encoding(encoding), _converter(QUAVMBConverterNew_A(encoding.c_str())) {}

  std::vector<Copier> _copiers;
  std::string _encoding;          // the code page's name
  QUAVMBConverterPtr _converter;  // null after construction of the view
  bool _lost = false;             // some text of the dictionary could not be converted without loss
};

// Converts the view's dictionary, which is a copy of its parent's, and makes the plan. `monitor` hears of names that
// had to be mended; null keeps that silent.
void ConvertDictionary(QUAV_DataSource& view, EncodingViewData& data, const EncodingDirection& direction,
                       ErrorMonitor* monitor);

// The end of a view's construction: warns the monitor, which may be null, by the message when text was lost, and gives
// the converter back.
void EndConversion(EncodingViewData& data, int message, ErrorMonitor* monitor);

// The cases of a view.
class EncodingViewIterator : public QUAV_InputCaseIterator {
 public:
  EncodingViewIterator(const QUAV_DataSource& view, const EncodingViewData& data, const EncodingDirection& direction,
                       OBS* buffer);
  ~EncodingViewIterator() override;

  int IsSeekOK() override;
  int Seek(long long row) override;
  long long Tell() const override;
  // Text that is lost in a case is not told.
  int Next() override;

 private:
  void ConvertCase();
  void ConvertString(const EncodingViewData::Copier& copier, OBS* target);

  const EncodingViewData& m_data;  // the view's
  const std::unique_ptr<QUAV_InputCaseIterator> m_parent;
  const QUAVMBConverterPtr m_converter;
  const bool m_keepsAscii;
  int (*const m_convertField)(QUAVMBConverter*, char*, int, const char*, int, int*);
  const OBS* const m_parentCells;
  OBS* const m_cells;
};

#endif
