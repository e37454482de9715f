#include "datasrc/QUAV_TrendsInfo.h"

QUAV_TrendsInfo& QUAV_TrendsInfo::operator=(const QUAV_TrendsInfo& other) {
  m_ = other.m_;
  return *this;
}

QUAV_TrendsInfo::~QUAV_TrendsInfo() = default;

void QUAV_TrendsInfo::SetStart(int first, int second) {
  m_.startFirst = first;
  m_.startSecond = second;
}

void QUAV_TrendsInfo::GetStart(int& first, int& second) const {
  first = m_.startFirst;
  second = m_.startSecond;
}

void QUAV_TrendsInfo::SetPeriod(bool set, int period) {
  m_.periodSet = set;
  m_.period = period;
}

void QUAV_TrendsInfo::GetPeriod(bool& set, int& period) const {
  set = m_.periodSet;
  period = m_.period;
}
