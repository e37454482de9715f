// The common part of the two encoding views: the conversion of a dictionary, the plan for a case, and the iterator. A
// view itself only says in which direction its text is converted (EncodingDirection).
//
// Threads: one thread converts the dictionary. After that the plan is read-only, and each iterator has a converter of
// its own.

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
  // Returns the width in the view of a string that has `width` bytes in the parent, in bytes.
  int (*viewWidth)(int width);
};

// The body of a view.
struct EncodingViewData {
  // How a stretch of a case is converted. The targets follow one another in the case of the view.
  struct Copier {
    std::uint32_t sourceCell;  // the first one in the parent's case
    std::uint32_t cells;       // in the view's case
    std::uint16_t width;       // 0 for a run of numbers, else the parent's width of the string, in bytes

    // Returns the number of cells in the parent's case.
    std::uint32_t SourceCells() const { return width == 0 ? cells : CellCount(width); }
    bool operator==(const Copier&) const = default;
  };

  explicit EncodingViewData(const std::string& encoding)
      : _encoding(encoding), _converter(QUAVMBConverterNew_A(encoding.c_str())) {}

  std::vector<Copier> _copiers;
  std::string _encoding;          // the code page's name
  QUAVMBConverterPtr _converter;  // null after the construction of the view
  bool _lost = false;             // some text of the dictionary could not be converted without loss
};

// Converts the view's dictionary, which is a copy of its parent's, and makes the plan. Warns `monitor`, which may be
// null, when names had to be repaired.
void ConvertDictionary(QUAV_DataSource& view, EncodingViewData& data, const EncodingDirection& direction,
                       ErrorMonitor* monitor);

// Ends the construction of a view: warns the monitor, which may be null, with the message if text was lost; frees the
// converter.
void EndConversion(EncodingViewData& data, int message, ErrorMonitor* monitor);

// Iterates over the cases of a view.
class EncodingViewIterator : public QUAV_InputCaseIterator {
 public:
  EncodingViewIterator(const QUAV_DataSource& view, const EncodingViewData& data, const EncodingDirection& direction,
                       OBS* buffer);
  ~EncodingViewIterator() override;

  int IsSeekOK() override;
  int Seek(long long row) override;
  long long Tell() const override;
  // Does not report text that is lost in a case.
  int Next() override;

 private:
  void ConvertCase();
  void ConvertString(const EncodingViewData::Copier& copier, OBS* target);

  const EncodingViewData& m_data;  // owned by the view
  const std::unique_ptr<QUAV_InputCaseIterator> m_parent;
  const QUAVMBConverterPtr m_converter;
  const bool m_keepsAscii;
  int (*const m_convertField)(QUAVMBConverter*, char*, int, const char*, int, int*);
  const OBS* const m_parentCells;
  OBS* const m_cells;
};

#endif
