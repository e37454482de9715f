// Sleep of the calling thread.
//
// Threads: any.

#ifndef PLATFORM_THREADS_QUAV_MSLEEP_H
#define PLATFORM_THREADS_QUAV_MSLEEP_H

// At least so many milliseconds, also when signals come; none when the number is below 1.
void QUAV_msleep(int milliseconds);

#endif
