// Walks through the cases of a system file, to the first fault or to the end of the data.
//
//   CaseTaker         where whole cases go: to the visitor, or nowhere
//   VerifyPlainCases  cases that are not compressed
//   VerifyCodedCases  groups of case codes
//
// Threads: one thread at a time.

#ifndef DATASRC_SRC_SYSTEMFILE_CASEVERIFIER_H
#define DATASRC_SRC_SYSTEMFILE_CASEVERIFIER_H

#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "Platform/stream/QUAV_FileStream.h"
#include "datasrc/SystemFileVerification.h"
#include "systemfile/GroupReader.h"
#include "systemfile/LongTextCheck.h"
#include "systemfile/SystemFileException.h"
#include "systemfile/SystemFileLayout.h"

// Gives whole cases to the visitor, in its layout.
class CaseTaker {
 public:
  // All outlive this object. Without `wantsCases`, and without a check that is needed, cases are only counted.
  CaseTaker(const SystemFileLayout& layout, LongTextCheck& check, VerificationVisitor& visitor, bool wantsCases);

  bool WantsCases() const { return m_wantsCases || m_check.IsNeeded(); }
  const SystemFileLayout& Layout() const { return m_layout; }
  // The place for a case in the file's form.
  OBS* Raw() { return m_raw.data(); }
  // Takes the case at Raw(), whose numbers are in this machine's byte order.
  void Take();
  // Counts more cases, and shows progress.
  void Count(long long cases);
  long long Cases() const { return m_cases; }

 private:
  const SystemFileLayout& m_layout;
  LongTextCheck& m_check;
  VerificationVisitor& m_visitor;
  bool m_wantsCases;
  std::vector<OBS> m_raw;
  std::vector<OBS> m_logical;
  long long m_cases = 0;
};

// Where cases end too soon: the byte in the stream, and the reason.
struct CaseFault {
  long byte = 0;
  std::string text;
  bool isSystem = false;  // the stream has failed
};

// Both begin at a case. They return the fault that ended the cases, if one did.
std::optional<CaseFault> VerifyPlainCases(QUAV_FileStream& stream, CaseTaker& cases);
std::optional<CaseFault> VerifyCodedCases(QUAV_FileStream& stream, GroupReader& reader, CaseTaker& cases);

// Returns the reason of the system, " (REASON)", or nothing for 0.
std::string SystemReason(int error);

#endif
