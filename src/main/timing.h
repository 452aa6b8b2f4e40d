// The time lines of a run.
#pragma once

#include <cstdint>
#include <string>

// "10:11:12, Sun Nov 15 2026\n\n": local time and date.
std::string currentTime();

// "DONE in 1 min 0 sec 0 msec\n\n", from the largest unit that is not 0, hours to milliseconds.
std::string elapsedTime(int64_t milliseconds);
