#include "datasrc/QUAV_AssertFailed.h"

QUAV_AssertFailed::QUAV_AssertFailed(const char* condition, const char* file, int line)
    : m_condition(condition != nullptr ? condition : "Null condition in QUAV_AssertFailed"),
      m_file(file != nullptr ? file : "Null source file in QUAV_AssertFailed"),
      m_line(line) {}

QUAV_AssertFailed::~QUAV_AssertFailed() = default;
