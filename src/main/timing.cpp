#include "main/timing.h"

#include <QDateTime>

std::string currentTime()
{
    const QDateTime now = QDateTime::currentDateTime();
    return now.time().toString(Qt::TextDate).toStdString() + ", " + now.date().toString(Qt::TextDate).toStdString()
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
