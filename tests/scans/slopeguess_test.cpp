#include "scans/slopeguess.h"
#include "scans/binsums.h"
#include "scans/fit.h"
#include "support/kernels.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace {
// Random bins of individuals with random dosages.
struct Bins {
    explicit Bins(std::mt19937_64 &random)
    {
        const size_t bins = 2 + random() % 9;
        for (size_t k = 0; k < bins; ++k) {
            x.push_back(random() % 2 ? double(k + 1) : std::ldexp(double(random()), int(random() % 90) - 110));
            counts.push_back(random() % 5 ? 1 + random() % 700 : 0);
            double sum = 0;
            sums.push_back(0);
            for (size_t i = 0; i < counts[k]; ++i) {
                const auto thousandths = unsigned(random() % 3 ? random() % 3 * 1000 : random() % 2001);
                sum += double(thousandths) / 1000;
                sums[k] += thousandths;
            }
            means.push_back(counts[k] > 0 ? sum / double(counts[k]) : 0);
        }
    }
    std::vector<double> x, means;
    std::vector<size_t> counts;
    std::vector<uint32_t> sums;
};
}  // namespace

TEST(SlopeGuess, IsAsNearAsItSays)
{
    std::mt19937_64 random(3);
    size_t close = 0;
    for (int round = 0; round < 20000; ++round) {
        const Bins bins(random);
        const SlopeGuess guess = guessSlope(bins.x, bins.counts, 2);
        double slope = 0;
        float single = 0;
        for (size_t k = 0; k < bins.x.size(); ++k) {
            slope += guess.weights[k] * bins.sums[k];
            single += float(guess.weights[k]) * float(bins.sums[k]);
        }
        const double formed = fitLine(bins.x, bins.means, 0, {}).slope;
        ASSERT_LE(std::fabs(slope - formed), guess.error) << round;
        ASSERT_LE(std::fabs(double(single) - formed), guess.error) << round;
        close += guess.error < 1e-4;
    }
    EXPECT_GT(close, 5000u);
    EXPECT_TRUE(std::isinf(guessSlope(std::vector{2.0, 2.0, 2.0}, std::vector<size_t>{1, 1, 1}, 2).error));
    EXPECT_TRUE(std::isinf(guessSlope(std::vector{1e-90, 2e-90, 4e-90}, std::vector<size_t>{1, 1, 1}, 2).error));
}

// Sums of whole numbers in narrow lanes, up to the largest that these hold.
TEST(BinSums, OfThousandthsAreExact)
{
    std::mt19937_64 random(4);
    std::vector<uint16_t> rows(tileRows * blockMarkers);
    for (auto &value : rows)
        value = uint16_t(random() % 4 ? mostThousandths : random() % (mostThousandths + 1));
    for (const size_t count : {0, 1, 2, 31, 32, 33, 63, 64, 65, 66, 67, 126, 127, 128}) {
        std::vector<uint8_t> members = {uint8_t(count)};
        std::vector<uint32_t> expected(blockMarkers);
        for (size_t i = 0; i < count; ++i) {
            members.push_back(uint8_t(random() % tileRows));
            for (size_t m = 0; m < blockMarkers; ++m)
                expected[m] += rows[members.back() * blockMarkers + m];
        }
        std::ranges::sort(expected);
        const float largest = float(expected.back());
        withEachKernels<BinKernels>([&] {
            const BinKernels &kernels = *kernelsInUse<BinKernels>;
            std::vector<uint32_t> sums(blockMarkers);
            kernels.addThousandths(rows.data(), members.data(), 1, 1, sums.data());
            const float weight = -0.5f;
            EXPECT_TRUE(kernels.reaches(&weight, 1, largest / 2, sums.data()));
            EXPECT_FALSE(kernels.reaches(&weight, 1, largest / 2 + 1, sums.data()));
            std::ranges::sort(sums);
            EXPECT_EQ(sums, expected) << count;
        });
    }
}
