#include "main/timing.h"

#include <ctime>

// Names in English: the process keeps the locale "C".
std::string currentTime()
{
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    localtime_r(&now, &local);
    char time[16], day[16];
    std::strftime(time, sizeof time, "%H:%M:%S, ", &local);
    std::strftime(day, sizeof day, "%a %b ", &local);
    return std::string(time) + day + std::to_string(local.tm_mday) + ' ' + std::to_string(1900 + local.tm_year)
           + "\n\n";
}

std::string elapsedTime(int64_t milliseconds)
{
    const int64_t msecs = milliseconds % 1000;
    const int64_t secs = milliseconds / 1000 % 60;
    const int64_t mins = milliseconds / 60000 % 60;
    const int64_t hours = milliseconds / 3600000;
    std::string line = "DONE in ";
    if (hours > 0)
        line += std::to_string(hours) + " h ";
    if (hours > 0 || mins > 0)
        line += std::to_string(mins) + " min ";
    if (hours > 0 || mins > 0 || secs > 0)
        line += std::to_string(secs) + " sec ";
    return line + std::to_string(msecs) + " msec\n\n";
}
