#include "support/genotypemodel.h"
#include "support/random.h"
#include "text/readnumber.h"

#include <gtest/gtest.h>

std::string ModelLine::at(long i) const
{
    return i >= 0 && i < size() ? fields[size_t(i)] : "";
}

double ModelLine::number(long i) const
{
    return text::readDouble(at(i));
}

std::vector<ModelLine> modelLines(const std::string &input)
{
    Texts texts = plainFields(input, "\n");
    const bool isEnded = texts.back().empty();
    if (isEnded)
        texts.pop_back();
    std::vector<ModelLine> lines;
    for (std::string &text : texts) {
        const bool isLast = &text == &texts.back();
        if (text.ends_with('\r') && (isEnded || !isLast))
            text.pop_back();
        lines.push_back({text.empty() ? Texts() : plainFields(text, " "), isLast});
    }
    return lines;
}

long modelInteger(const OptionMap &options, const std::string &name, long absent)
{
    const auto found = options.find(name);
    return found == options.end() || found->second.empty() ? absent : text::readInteger(found->second);
}

std::string modelColumns(const ModelLine &line, long columns)
{
    std::string text;
    for (long i = 0; i < columns; ++i)
        text += line.at(i) + ' ';
    return text;
}

// Up to six lines; some are longer than a batch of 768 fields.
static std::string randomInput(RandomText &random)
{
    std::string input;
    for (size_t lines = random.below(7); lines > 0; --lines) {
        const size_t fields = random.oneIn(6) ? 700 + random.below(1700) : random.below(30);
        const size_t odd = random.oneIn(3) ? 3 : 0;
        for (size_t i = 0; i < fields; ++i) {
            input += random.number(odd);
            input += i + 1 < fields || random.oneIn(4) ? " " : "";
        }
        input += random.lineEnd();
    }
    if (random.oneIn(2) && !input.empty())
        input.pop_back();
    return input;
}

static ModelResult runProgram(const std::string &mode, const std::string &input, const OptionMap &options)
{
    const Folder folder;
    std::vector<std::string> words;
    for (const auto &[name, value] : options)
        words.insert(words.end(), {name, value});
    const auto run = convert(folder, mode, input, words);
    return {run.messages, folder.read("out"), folder.read("out.stats")};
}

void compareWithModel(const std::string &mode, const Choices &choices, const Model &model)
{
    for (unsigned seed = 1; seed <= 80; ++seed) {
        RandomText random(seed);
        std::string input = randomInput(random);
        OptionMap options;
        for (const auto &[name, values] : choices) {
            if (random.oneIn(2))
                options[name] = values[random.below(values.size())];
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
                      << ", input:\n" << input
                      << "\nresult:\n" << result.messages << result.out << result.stats
                      << "\nexpected:\n" << expected.messages << expected.out << expected.stats;
        return;
    }
}
