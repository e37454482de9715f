// The body that handles on one variable share.
//
// A body is plain fields and the few operations that keep them right. A handle gives itself a body of its own before it
// changes one.
//
// Threads: no lock. The running number of identities, the label pool and the cell of IsMissing for a text belong to the
// process: one thread builds variables and asks about texts; several may read while nobody writes.

#ifndef DATASRC_SRC_DICTIONARY_VARIMPL_H
#define DATASRC_SRC_DICTIONARY_VARIMPL_H

#include <cstdint>
#include <string>

#include "Platform/threads/QUAV_RefCntObject.h"
#include "datasrc/DatasourceAttributes.h"
#include "datasrc/LocallyUniqueID.h"
#include "datasrc/Obs.h"
#include "datasrc/QUAV_ValueLabelMap.h"
#include "datasrc/QUAV_Variable.h"
#include "dictionary/varformat.h"

using QUAV_VarLabel = std::string;

class QUAV_VariableImpl : public QUAV_RefCntObject {
 public:
  explicit QUAV_VariableImpl(int type);
  QUAV_VariableImpl(const QUAV_VariableImpl&) = default;
  ~QUAV_VariableImpl() override;

  // The body of a variable, as it stands.
  static const QUAV_VariableImpl& Of(const QUAV_Variable& variable) { return variable.Body(); }

  // Its low 4 bits mark the identities issued from now on, those of registered value label maps too.
  static void SetOriginator(int originator);
  // Puts a label into the pool, where it stays until the process ends.
  static const QUAV_VarLabel* InsertLabel(const char* text, unsigned int length);

  // The body, marked as modified: `body.Modified().fRole = role`. Formats and the identity change without the mark.
  QUAV_VariableImpl& Modified();
  void NewID();

  // These mark the body as modified.
  void SetName(const char* text, unsigned int length);
  // Asserts 0 <= type <= MAX_STRING_TYPE.
  void SetType(int type);
  // `code` as in fNMissing; asserts that as many values as it says are given.
  void SetMissingValues(int code, const OBS* v1, const OBS* v2, const OBS* v3);

  int IsMissing(const OBS* value) const;
  int IsMissing(const char* text) const;

  // Everything but the identity, the upper-case name and the two one-bit marks.
  bool operator==(const QUAV_VariableImpl& other) const;

  std::string fName;                      // trailing blanks cut
  std::string fUpperName;                 // at most 128 bytes
  OBS fMissing[3]{};                      // unused ones zero
  const QUAV_VarLabel* fLabel = nullptr;  // in the pool; null for none
  DatasourceAttributes fAttributes;
  StoredFormat fPrintFormat;  // this and the next as a system file holds them
  StoredFormat fWriteFormat;
  std::int16_t fType;  // 0 numeric, else the string's width
  std::int16_t fDisplayWidth;
  int fRole = 0;
  std::int8_t fNMissing = 0;  // 0; 1, 2, 3 single values; -2 a range; -3 a range and a single value
  unsigned int fObsolete : 1 = 0;
  unsigned int fMeasurementLevel : 4;
  unsigned int fAlignment : 2;
  unsigned int fModified : 1 = 0;
  QUAV_VLImplPointer fValueLabels;
  LocallyUniqueID fID;
};

#endif
