// Where a series begins and what its period is, as the time series procedures keep it with a data source.
//
// The numbers are kept and given back without interpretation.
//
// Threads: one thread at a time, with its data source.

#ifndef DATASRC_QUAV_TRENDSINFO_H
#define DATASRC_QUAV_TRENDSINFO_H

#include "Platform/Export.h"

class QUAV_DataSource;

class DATASRC_API QUAV_TrendsInfo {
 public:
  QUAV_TrendsInfo() = default;
  QUAV_TrendsInfo(const QUAV_TrendsInfo&) = default;
  // Takes over everything but the owner.
  QUAV_TrendsInfo& operator=(const QUAV_TrendsInfo& other);
  virtual ~QUAV_TrendsInfo();

  // The owner; not owned.
  void SetDataSource(const QUAV_DataSource* source) { fpDataSource = source; }
  const QUAV_DataSource* GetDataSource() const { return fpDataSource; }

  void SetStart(int first, int second);
  void GetStart(int& first, int& second) const;
  void SetPeriod(bool set, int period);
  void GetPeriod(bool& set, int& period) const;

  // All but the owner.
  bool operator==(const QUAV_TrendsInfo& other) const { return m_ == other.m_; }

 private:
  struct Fields {
    int startFirst = 1;
    int startSecond = 1;
    bool periodSet = false;
    int period = 1;

    bool operator==(const Fields&) const = default;
  };

  const QUAV_DataSource* fpDataSource = nullptr;
  Fields m_;
};

#endif
