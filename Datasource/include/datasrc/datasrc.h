// The library in one include.

#ifndef DATASRC_DATASRC_H
#define DATASRC_DATASRC_H

#include "Platform/messages/ErrorMonitor.h"
#include "Platform/messages/ThrowError.h"
#include "Platform/stream/ExtNameStr.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/BaseCString.h"
#include "datasrc/Calendar.h"
#include "datasrc/CaseValue.h"
#include "datasrc/DataEditorFormattingInfo.h"
#include "datasrc/DatasourceAttributes.h"
#include "datasrc/IndependentDataStore.h"
#include "datasrc/LocallyUniqueID.h"
#include "datasrc/Obs.h"
#include "datasrc/ObsValue.h"
#include "datasrc/QUAV_AssertFailed.h"
#include "datasrc/QUAV_Case.h"
#include "datasrc/QUAV_DSObs.h"
#include "datasrc/QUAV_DataCell.h"
#include "datasrc/QUAV_DataSource.h"
#include "datasrc/QUAV_ExtensionImpl.h"
#include "datasrc/QUAV_Format.h"
#include "datasrc/QUAV_FortranDictionary.h"
#include "datasrc/QUAV_InputCaseIterator.h"
#include "datasrc/QUAV_TrendsInfo.h"
#include "datasrc/QUAV_ValueLabelMap.h"
#include "datasrc/QUAV_Variable.h"
#include "datasrc/QuavErrorContext.h"
#include "datasrc/ReadLine.h"
#include "datasrc/RefCountPtr.h"
#include "datasrc/Settings.h"
#include "datasrc/SortIndexInfo.h"
#include "datasrc/SystemFileDataSource.h"
#include "datasrc/VariableSetImpl.h"

#endif
