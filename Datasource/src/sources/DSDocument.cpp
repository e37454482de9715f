#include "datasrc/DSDocument.h"

#include <algorithm>
#include <tuple>

#include "Platform/Assert.h"
#include "Platform/threads/QUAV_RefCntObject.h"
#include "core/systemfileformat.h"

class DSDocument::Impl : public QUAV_RefCntObject {
 public:
  int _year = 0;
  int _month = 1;
  int _day = 1;
  std::vector<std::string> _lines;

  auto Tied() const { return std::tie(_year, _month, _day, _lines); }
};

namespace {

constexpr int kFirstYearOf1900s = 64;  // a year of two digits
constexpr int kYearsOfCentury = 100;

}  // namespace

DSDocument::DSDocument() : _my(new Impl) {}
DSDocument::DSDocument(const DSDocument& other) = default;
DSDocument& DSDocument::operator=(const DSDocument& other) = default;
DSDocument::~DSDocument() = default;

int DSDocument::Year() const { return _my->_year; }
int DSDocument::Month() const { return _my->_month; }
int DSDocument::Day() const { return _my->_day; }

void DSDocument::Year(int year) {
  if (year < kFirstYearOf1900s) {
    year += 2000;
  } else if (year < kYearsOfCentury) {
    year += 1900;
  }
  _my.Unshared()->_year = year;
}

void DSDocument::Month(int month) {
  QUAV_ASSERT(0 < month && month < 13, "0 < mo && mo < 13");
  _my.Unshared()->_month = month;
}

void DSDocument::Day(int day) {
  QUAV_ASSERT(0 < day && day < 32, "0 < da && da < 32");
  _my.Unshared()->_day = day;
}

int DSDocument::Size() const { return static_cast<int>(_my->_lines.size()); }

void DSDocument::AddLine(const std::string& line) {
  QUAV_ASSERT(line.size() <= kDocumentLineSize, "line.size() < 81");
  _my->_lines.push_back(line);  // Deliberate: changes the body that copies share.
}

const std::string& DSDocument::operator[](int which) const {
  QUAV_ASSERT(0 <= which && which < Size(), "0 <= which && which < _my->_lines.size()");
  return _my->_lines[static_cast<std::size_t>(which)];
}

std::string& DSDocument::operator[](int which) {
  QUAV_ASSERT(0 <= which && which < Size(), "0 <= which && which < _my->_lines.size()");
  return _my.Unshared()->_lines[static_cast<std::size_t>(which)];
}

bool DSDocument::operator==(const DSDocument& other) const { return _my->Tied() == other._my->Tied(); }

bool DSDocument::operator<(const DSDocument& other) const { return _my->Tied() < other._my->Tied(); }
