#include "SaveDS.h"

QUAV_InputCaseIterator* SystemFileDataSource::SaveDS::MakeIterator(OBS*) const { return nullptr; }
