#include "datasrc/DataFreeDataSource.h"

#include "Platform/Assert.h"

DataFreeDataSource::DataFreeDataSource() : QUAV_DataSource(nullptr) { SetDirty(false); }

DataFreeDataSource::~DataFreeDataSource() = default;

QUAV_InputCaseIterator* DataFreeDataSource::MakeIterator(OBS*) const {
  QUAV_ASSERT(0, "0");
  return nullptr;
}
