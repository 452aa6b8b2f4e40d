// All ways to take a line apart, against a plain one.
#include "bytes.h"
#include "genotypes/numberwalker.h"
#include "text/fields.h"

#include <algorithm>
#include <functional>
#include <memory>

using Texts = std::vector<std::string_view>;

static Texts plainFields(std::string_view line, const std::function<size_t(std::string_view)> &findEnd, size_t skipped)
{
    Texts fields;
    for (;;) {
        const size_t end = findEnd(line);
        fields.push_back(line.substr(0, end));
        if (end == line.npos)
            return fields;
        line.remove_prefix(end + skipped);
    }
}

template <text::Separator separator>
static void walk(std::string_view line, size_t most)
{
    Texts expected = plainFields(
        line,
        [](std::string_view rest) {
            const auto at = std::ranges::find_if(rest, [](char byte) {
                return separator == text::Separator::Blank ? byte == ' ' : text::isWhiteSpace(byte);
            });
            return at == rest.end() ? rest.npos : size_t(at - rest.begin());
        },
        1);
    if (separator == text::Separator::WhiteSpace)
        std::erase(expected, "");
    NumberWalker<separator> walker(line, most);
    size_t i = 0;
    while (const size_t count = walker.next()) {
        for (size_t k = 0; k < count; ++k, ++i) {
            expect(i < expected.size() && (walker.numbers()[k] >= 0 || walker.longField(k) == expected[i]));
            const double value = walker.value(k), right = text::readDouble(expected[i]);
            expect(value == right || (value != value && right != right));
        }
    }
    expect(i == std::min(most, expected.size()));
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size)
{
    Choices choices(bytes, size);
    const size_t most = 1 + choices.below(2048), delimiterSize = choices.below(4), position = choices.below(256);
    const std::string_view given = choices.rest();
    const std::string delimiter(given.substr(0, delimiterSize));
    const std::string_view behind = given.substr(delimiter.size()), content = behind.substr(0, behind.find('\n'));
    // As a reader holds it: with readable bytes behind it, and no more.
    constexpr size_t slack = text::LineReader::slack;
    const auto memory = std::make_unique<char[]>(content.size() + slack);
    std::ranges::copy(content, memory.get());
    const std::string_view line(memory.get(), content.size());

    Texts expected = delimiter.empty() ? Texts{""} : plainFields(
        line, [&](std::string_view rest) { return rest.find(delimiter); }, delimiter.size());
    if (delimiter.empty()) {
        for (size_t i = 0; i < line.size(); ++i)
            expected.push_back(line.substr(i, 1));
        expected.emplace_back();
    }
    Texts fields;
    text::splitFields(line, delimiter, fields);
    expect(fields == expected && text::countFields(line, delimiter) == expected.size());
    text::FieldReader reader(line, delimiter);
    std::string_view field;
    for (const std::string_view each : expected)
        expect(reader.next(field) && field == each);
    expect(!reader.next(field));
    field = delimiter.empty() ? std::string_view() : text::findField(line, delimiter, position);
    if (!delimiter.empty())
        expect(position < expected.size() ? field == expected[position] : !field.data());
    text::splitNonEmptyFields(line, delimiter, fields);
    std::erase(expected, "");
    expect(fields == expected);

    walk<text::Separator::Blank>(line, most);
    walk<text::Separator::WhiteSpace>(line, most);
    return 0;
}
