#include "Platform/threads/QUAV_msleep.h"

#include <chrono>
#include <thread>

void QUAV_msleep(int milliseconds) { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); }
