#pragma once

#include <sys/time.h>

#include <ctime>

/// Clock ticks a second of abs_clock, set before `main`.
extern const long ABSCLOCKS_PER_SEC;

/// Clock ticks since an origin that stays the same while the system runs; -errno on failure.
long abs_clock();

/// Nothing has to be opened.
/// @return 0
int OpenAbsClock();

/// Microseconds to nanoseconds.
void timecon(const timeval* from, timespec* to);
