#include "support/scaninput.h"
#include "support/scanmodel.h"
#include "text/bytes.h"

#include <algorithm>

std::string ScanInput::phenotypes()
{
    std::string text;
    const size_t missingPart = oneIn(3) ? 0 : below(100);
    for (size_t j = oneIn(6) ? 60 + below(90) : 1 + below(12); j > 0; --j) {
        text += "f" + std::to_string(j);
        const bool isComplete = oneIn(2), isEmpty = !isComplete && oneIn(8), isCoarse = oneIn(2);
        for (size_t i = 0; i < individuals + (!isTame && oneIn(300)); ++i) {
            text += delimiter;
            if (isEmpty || (!isComplete && below(100) < missingPart))
                text += oneOf({"NA", "", "NA", "-999.999"});
            else if (!isTame && oneIn(40))
                text += oneOf({"nan", "inf", "-inf", "1e308", "-1e308", "abc", "-0", "1e-310", "1e999"});
            else
                text += isCoarse ? std::to_string(below(3)) : plainText(double(below(200000)) / 1000 - 100);
        }
        text += lineEnd();
    }
    return text;
}

std::string ScanInput::dosage()
{
    const std::string text = number(below(2)) + (oneIn(20) ? " \t" : "");
    return std::all_of(text.begin(), text.end(), text::isWhiteSpace) ? "x" : text;  // would be no word
}

std::string ScanInput::triplet()
{
    std::string text;
    const size_t group = below(3);
    const bool isOdd = !isTame && oneIn(10);
    for (size_t k = 0; k < 3; ++k) {
        text += k > 0 ? delimiter : "";
        text += isOdd                   ? oneOf({"0.5", ".5", "1e-1", "abc", "-0.4", "0.4999999", "1.", "+1", "-0"})
                : !isTame && oneIn(999) ? oneOf({"nan", "3", "-3", "1e30"})
                : k == group            ? oneOf({"1", "0.8", "0.951"})
                                        : oneOf({"0", "0.1", "0.024"});
    }
    return text;
}

std::string ScanInput::markers(std::string (ScanInput::*individual)())
{
    std::string text;
    for (size_t marker = oneIn(4) ? 30 + below(50) : below(6); marker > 0; --marker) {
        for (const std::string &word :
             {std::string("1"), "m" + std::to_string(marker), std::string("7"), std::string("A")})
            text += word + delimiter;
        text += "G";
        for (size_t i = 0; i < individuals; ++i) {
            text += delimiter + (this->*individual)();
            text += isTame || !oneIn(200) ? "" : oneOf({" ", "\t", "\v"});
        }
        text += oneIn(8) ? delimiter : "";
        text += !isTame && oneIn(100) ? oneOf({" 7", " 7 7", "\n"}) : "";
        text += marker > 1 || oneIn(2) ? lineEnd() + (oneIn(30) ? " \t\n" : "") : "";
    }
    return text;
}

std::string ScanInput::dosages()
{
    return markers(&ScanInput::dosage);
}

std::string ScanInput::triplets()
{
    return markers(&ScanInput::triplet);
}
