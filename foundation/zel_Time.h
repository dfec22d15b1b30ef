#ifndef FOUNDATION_ZEL_TIME_H
#define FOUNDATION_ZEL_TIME_H

// Reads the wall clock, which may be set back or forward between two readings.
// Units: seconds since the epoch, with a resolution of one microsecond.
double zelTime();

#endif  // FOUNDATION_ZEL_TIME_H
