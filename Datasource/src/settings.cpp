#include "datasrc/Settings.h"

namespace {

int theAsynchReading = 1;

}  // namespace

void setasynchreading_(int* value) { theAsynchReading = *value; }

int getasynchreading_() { return theAsynchReading; }
