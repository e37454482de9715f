#include "Platform/stream/QUAV_StrBaseIO.h"

QUAV_StrBaseIO::~QUAV_StrBaseIO() = default;
