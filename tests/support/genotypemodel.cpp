#include "support/genotypemodel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <regex>

std::string ModelLine::at(long i) const
{
    return i >= 0 && i < size() ? fields[size_t(i)] : "";
}

double ModelLine::number(long i) const
{
    static const std::regex real("\\s*([+-]?(\\d+\\.?\\d*|\\.\\d+)(e[+-]?\\d+)?|[+-]?inf|nan)\\s*",
                                 std::regex::icase);
    const std::string field = at(i);
    return std::regex_match(field, real) ? std::strtod(field.c_str(), nullptr) : 0;
}

std::vector<ModelLine> modelLines(const std::string &input)
{
    std::vector<ModelLine> lines;
    for (size_t first = 0; first < input.size();) {
        const size_t end = std::min(input.find('\n', first), input.size());
        std::string line = input.substr(first, end - first);
        if (end < input.size() && line.ends_with('\r'))
            line.pop_back();
        first = end + 1;
        lines.push_back({{}, first >= input.size()});
        if (line.empty())
            continue;
        lines.back().fields.emplace_back();
        for (const char byte : line) {
            if (byte == ' ')
                lines.back().fields.emplace_back();
            else
                lines.back().fields.back() += byte;
        }
    }
    return lines;
}

std::string modelText(double value)
{
    if (std::isnan(value))
        return "nan";
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", value == 0 ? 0.0 : value);
    return text;
}

long modelInteger(const OptionMap &options, const std::string &name, long absent)
{
    const auto found = options.find(name);
    if (found == options.end() || found->second.empty())
        return absent;
    if (!std::regex_match(found->second, std::regex("[+-]?\\d+")))
        return 0;
    const long value = std::stol(found->second);
    return value == int(value) ? value : 0;
}

std::string modelColumns(const ModelLine &line, long columns)
{
    std::string text;
    for (long i = 0; i < columns; ++i)
        text += line.at(i) + ' ';
    return text;
}

static std::string randomInput(std::mt19937 &generator)
{
    const auto below = [&](unsigned limit) { return unsigned(generator() % limit); };
    static const char *const plain[] = {"0", "1", "2", "0.5", "0.123", "1.5", "0.49", "1.877", "0.1", "2.499"};
    static const char *const odd[] = {"",    "x",   "-0.7", "2.5",  "1e1",   "0.1234567",  "1e-3", "+1",     ".5",
                                      "5.",  "001", "0x1",  "1,5",  "9.999", "0.50000001", "-0",   "1.0000", "1.",
                                      "nan", "inf", "-inf", "-nan", "\t1",   "1e999",      "1e-400", "3e9",  "-1.6"};
    std::string input;
    for (unsigned line = below(6); line < 6; ++line) {
        const unsigned fields = below(6) == 0 ? 700 + below(1700) : below(30);
        const unsigned oddShare = below(3) == 0 ? 30 : 0;  // in 100
        for (unsigned i = 0; i < fields; ++i) {
            input += below(100) < oddShare ? odd[below(std::size(odd))] : plain[below(std::size(plain))];
            if (i + 1 < fields || below(4) == 0)
                input += below(100) < oddShare / 6 ? "  " : " ";
        }
        input += below(4) == 0 ? "\r\n" : "\n";
    }
    if (below(2) == 0 && !input.empty())
        input.pop_back();
    return input;
}

static ModelResult runProgram(const std::string &mode, const std::string &input, const OptionMap &options)
{
    const Folder folder;
    folder.write("in", input);
    std::vector<std::string> words = {"-file", "in", "-out", "out"};
    for (const auto &[name, value] : options)
        words.insert(words.end(), {name, value});
    const Run run = folder.runMode(mode, words);
    return {run.messages, folder.read("out"), folder.read("out.stats")};
}

void compareWithModel(const std::string &mode,
                      const std::vector<std::pair<std::string, std::vector<std::string>>> &choices, const Model &model)
{
    for (unsigned seed = 1; seed <= 80; ++seed) {
        std::mt19937 generator(seed);
        std::string input = randomInput(generator);
        OptionMap options;
        for (const auto &[name, values] : choices) {
            if (generator() % 2)
                options[name] = values[generator() % values.size()];
        }
        const auto fails = [&](const std::string &text) {
            return runProgram(mode, text, options) != model(modelLines(text), options);
        };
        if (!fails(input))
            continue;
        for (size_t first = 0; first < input.size();) {
            const size_t end = std::min(input.find('\n', first), input.size() - 1) + 1;
            std::string fewer = input;
            fewer.erase(first, end - first);
            if (fails(fewer))
                input = fewer;
            else
                first = end;
        }
        const ModelResult result = runProgram(mode, input, options);
        const ModelResult expected = model(modelLines(input), options);
        ADD_FAILURE() << mode << ", seed " << seed << ", options " << testing::PrintToString(options)
                      << ", input:\n" << input << "\nresult:\n" << result.messages << result.out << result.stats
                      << "\nexpected:\n" << expected.messages << expected.out << expected.stats;
        return;
    }
}
