// A time zone of the test's own.
#pragma once

#include <cstdlib>

#include <time.h>

namespace Test {

// The zone of this process while the object lives, in the form of the environment variable TZ
// (POSIX); the host's afterwards. No other thread may ask for the time meanwhile.
class TimeZone {
  public:
    explicit TimeZone(const char* zone) {
        ::setenv("TZ", zone, 1);
        ::tzset();
    }
    ~TimeZone() {
        ::unsetenv("TZ");
        ::tzset();
    }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;
};

}  // namespace Test
