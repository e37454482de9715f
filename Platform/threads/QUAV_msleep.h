// A sleep for the calling thread.
//
// Threads: any.

#ifndef PLATFORM_THREADS_QUAV_MSLEEP_H
#define PLATFORM_THREADS_QUAV_MSLEEP_H

// Sleeps at least this number of milliseconds, even when signals arrive; returns at once for a number below 1.
void QUAV_msleep(int milliseconds);

#endif
