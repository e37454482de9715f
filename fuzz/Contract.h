// The assertions by which the library ends the process for malformed contents: by contract, no find. A target does its
// work within Survives; every other assertion that fails in it is a find.

#ifndef DATASRC_FUZZ_CONTRACT_H
#define DATASRC_FUZZ_CONTRACT_H

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "Platform/AssertionsThrow.h"

inline constexpr std::array kContract{
    // records
    "m_nUnits && m_unitSize", "0 <= type", "0 <= index",
    // sets
    "(type == 'D') || (type == 'C') || (type == 'E')", "blank == ' '", "space == ' '", "length != 0",
    "(length != 0) || (strLabelLength[0] == '0')", "length <= line.size()", "! str.empty()",
    // trends
    "nDateVars < eMaxDateVars", "iDateVar >= 0 && fData.fVars != 0",
    "iDateVar < fData.fnDateVars || (iDateVar == fData.fnDateVars && (iType == e_DATKEY || iType == e_NONE))",
    // documents
    "bytes%80 == 0", "8 < date.size()", "'0' <= date[0] && date[0] <= '9'", "'0' <= date[1] && date[1] <= '9'",
    "0 < mo && mo < 13", "0 < da && da < 32", "'0' <= date[7] && date[7] <= '9'", "'0' <= date[8] && date[8] <= '9'"};

inline void RequireContract(std::string_view assertion) {
  if (std::ranges::find(kContract, assertion) != kContract.end()) return;
  std::fprintf(stderr, "no assertion of the contract: %.*s\n", static_cast<int>(assertion.size()), assertion.data());
  std::abort();
}

// Does the work. Returns false when the process would have ended in it, by contract.
template <class Work>
bool Survives(const Work& work) {
  try {
    const AssertionsThrow scope;
    work();
    return true;
  } catch (const AssertionFailure& failure) {
    RequireContract(failure.Text());
    return false;
  }
}

#endif
