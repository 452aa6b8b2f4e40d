// The modes over pairs of relatives as they are described, step by step and with all their rescans: their judges.
#pragma once

#include <map>
#include <string>
#include <vector>

struct LiteralRun {
    std::map<std::string, std::string> files;    // inputs before, and all files after
    std::map<std::string, std::string> options;  // "-file" among them
    std::string messages;
    int status = 0;

    void family();

private:
    std::string value(const std::string &option, const std::string &absent) const;
    std::vector<std::string> lines(const std::string &file, bool keepsReturns) const;
    std::vector<std::string> split(const std::string &line) const;
    void stop(const std::string &message);  // the run ends with status 1
};
