// The body of a variable, which its handles share.
//
// A body consists of plain fields and the few operations that keep them consistent. A handle makes a body of its own
// before it changes a shared one.
//
// Threads: one writer, or several readers, for each body. The identities and the label pool belong to the process:
// any thread may use them.

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

  // Returns the body of a variable.
  static const QUAV_VariableImpl& Of(const QUAV_Variable& variable) { return variable.Body(); }

  // The low 4 bits of `originator` mark identities issued from now on, including those of registered value label maps.
  static void SetOriginator(int originator);
  // Adds a label to the pool, where it stays until the process ends.
  static const QUAV_VarLabel* InsertLabel(const char* text, unsigned int length);

  // Returns the body, marked as modified: `body.Modified().fRole = role`. Formats and the identity need no mark.
  QUAV_VariableImpl& Modified();
  void NewID();

  // These mark the body as modified.
  void SetName(const char* text, unsigned int length);
  // Asserts 0 <= type <= MAX_STRING_TYPE.
  void SetType(int type);
  // `code` is a value of fNMissing. Asserts that the missing values which the code needs are given.
  void SetMissingValues(int code, const OBS* v1, const OBS* v2, const OBS* v3);

  int IsMissing(const OBS* value) const;
  int IsMissing(const char* text) const;

  // Compares everything but the identity, the upper-case name and the two one-bit marks.
  bool operator==(const QUAV_VariableImpl& other) const;

  std::string fName;                      // trailing blanks cut
  std::string fUpperName;                 // at most 128 bytes
  OBS fMissing[3]{};                      // unused ones are zero
  const QUAV_VarLabel* fLabel = nullptr;  // in the pool; null for none
  DatasourceAttributes fAttributes;
  StoredFormat fPrintFormat;  // this and the next in the form of a system file
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
