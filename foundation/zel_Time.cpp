#include "foundation/zel_Time.h"

#include <sys/time.h>

double zelTime() {
  timeval now;
  (void)gettimeofday(&now, nullptr);  // fails only for a bad address
  return static_cast<double>(now.tv_sec) +
         static_cast<double>(now.tv_usec) / 1000000.0;
}
