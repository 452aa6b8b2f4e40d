#include "matching/group.h"
#include "matching/individuals.h"

#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <set>

// Up to `most` individuals and five times as many in the pool, over 1 to 4 columns: small whole numbers, with many
// ties, or real ones; some are missing.
struct Input {
    Points first, pool;
    size_t hitnumber;
};

static Input makeInput(uint64_t seed, size_t most)
{
    std::mt19937_64 generator(seed);
    const auto below = [&](size_t limit) { return size_t(generator() % limit); };
    const size_t count = 1 + below(most), hitnumber = 1 + below(3), columns = 1 + below(4), missing = below(3) * 20;
    const bool isWhole = below(2);
    const double shift = double(below(3));
    const auto make = [&](size_t size, double by) {
        Points points{size, columns, {}};
        for (size_t i = 0; i < size * columns; ++i) {
            const double value = isWhole ? double(below(6)) : double(below(1000003)) / 3e5;
            points.values.push_back(below(100) < missing ? noValue : value + by);
        }
        return points;
    };
    Input input{make(count, shift), {}, hitnumber};
    input.pool = make(count * hitnumber + below(count * 2 + 1), 0);
    return input;
}

// [individual][of the pool], from scratch; infinity without a common column.
static std::vector<std::vector<double>> plainDistances(const Points &first, const Points &pool)
{
    std::vector<double> deviations;
    for (size_t c = 0; c < first.columnCount; ++c) {
        double n = 0, sum = 0, squares = 0;
        for (const Points *points : {&first, &pool}) {
            for (size_t i = c; i < points->values.size(); i += points->columnCount) {
                if (std::isnan(points->values[i]))
                    continue;
                ++n;
                sum += points->values[i];
                squares += points->values[i] * points->values[i];
            }
        }
        deviations.push_back(n > 0 ? std::sqrt(std::max(squares / n - sum / n * (sum / n), 0.0)) : 0);
    }
    std::vector<std::vector<double>> distances(first.count);
    for (size_t i = 0; i < first.count; ++i) {
        for (size_t j = 0; j < pool.count; ++j) {
            double sum = 0, n = 0;
            for (size_t c = 0; c < first.columnCount; ++c) {
                const double difference = first[i][c] - pool[j][c];
                if (deviations[c] < 1e-9 || std::isnan(difference))
                    continue;
                sum += difference / deviations[c] * (difference / deviations[c]);
                ++n;
            }
            distances[i].push_back(n > 0 ? std::sqrt(sum / n) : INFINITY);
        }
    }
    return distances;
}

// The length of the shortest circle of exchanges, each of which takes a match from the next one; the last node stands
// for who is free and for places left empty, which are dearer than all matches. Where it is not negative, the matches
// are the best ones (Klein 1967).
static double bestExchange(const IndividualMatching &matching, const std::vector<std::vector<double>> &distances,
                           size_t hitnumber)
{
    const double never = 1e4;
    const size_t nobody = distances.size();
    std::vector<size_t> owner(distances[0].size(), nobody);
    std::vector<std::vector<double>> length(nobody + 1, std::vector<double>(nobody + 1, INFINITY));
    for (size_t i = 0; i < nobody; ++i) {
        for (const Neighbour &match : matching.matches()[i])
            owner[match.point] = i;
        length[i][nobody] = never;
        if (matching.matches()[i].size() < hitnumber)
            length[nobody][i] = -never;
    }
    const auto cost = [&](size_t i, size_t j) { return i == nobody ? 0 : std::min(distances[i][j], never); };
    for (size_t j = 0; j < owner.size(); ++j) {
        for (size_t i = 0; i <= nobody; ++i)
            length[i][owner[j]] = std::min(length[i][owner[j]], cost(i, j) - cost(owner[j], j));
    }
    double best = 0;
    for (size_t via = 0; via <= nobody; ++via) {
        for (size_t from = 0; from <= nobody; ++from) {
            for (size_t to = 0; to <= nobody; ++to) {
                const double through = length[from][via] + length[via][to];
                if (through < length[from][to] - 1e-9)  // no rounding makes a circle
                    length[from][to] = through;
            }
            best = std::min(best, length[from][from]);
        }
    }
    return best;
}

struct Total {
    size_t count = 0;
    double distance = 0;
};

// Checks that the matches are ones, and sums them up.
static Total totalOf(const IndividualMatching &matching, const std::vector<std::vector<double>> &distances,
                     size_t hitnumber)
{
    Total total;
    std::set<uint32_t> taken;
    for (size_t i = 0; i < distances.size(); ++i) {
        EXPECT_LE(matching.matches()[i].size(), hitnumber);
        EXPECT_TRUE(std::is_sorted(matching.matches()[i].begin(), matching.matches()[i].end()));
        for (const Neighbour &match : matching.matches()[i]) {
            EXPECT_TRUE(taken.insert(match.point).second);
            EXPECT_NEAR(match.distance, distances[i][match.point], 1e-12);
            ++total.count;
            total.distance += match.distance;
        }
    }
    return total;
}

TEST(Matching, IsOptimalWhereAllAreAssignedTogether)
{
    for (uint64_t seed = 0; seed < 200; ++seed) {
        const Input input = makeInput(seed, 60);
        const Standardised data = standardise(input.first, input.pool);
        const auto distances = plainDistances(input.first, input.pool);
        IndividualMatching matching(data, input.hitnumber);
        matching.improve(input.first.count, Order(seed % 3));
        totalOf(matching, distances, input.hitnumber);
        ASSERT_EQ(bestExchange(matching, distances, input.hitnumber), 0) << "seed " << seed;
        EXPECT_FALSE(matching.improve(input.first.count, Order::File)) << "seed " << seed;
    }
}

// Everyone in file order takes the nearest of those left, of equally near ones the earlier.
TEST(Matching, TakesTheNearestOneByOneToBeginWith)
{
    for (uint64_t seed = 0; seed < 200; ++seed) {
        const Input input = makeInput(seed, 200);
        const Standardised data = standardise(input.first, input.pool);
        const IndividualMatching matching(data, input.hitnumber);
        std::set<uint32_t> taken;
        for (size_t i = 0; i < input.first.count; ++i) {
            std::vector<Neighbour> all;
            for (uint32_t j = 0; j < input.pool.count; ++j) {
                const double distance = distanceOf(data.first[i], data.pool[j], data.inverse);
                if (!taken.contains(j) && std::isfinite(distance))
                    all.push_back({distance, j});
            }
            std::sort(all.begin(), all.end());
            all.resize(std::min(all.size(), input.hitnumber));
            ASSERT_EQ(matching.matches()[i].size(), all.size()) << "seed " << seed << ", individual " << i;
            for (size_t rank = 0; rank < all.size(); ++rank) {
                ASSERT_EQ(matching.matches()[i][rank].point, all[rank].point) << "seed " << seed;
                taken.insert(all[rank].point);
            }
        }
    }
}

// In file order 0 takes 2, and -4 is left for 1; the other way round is less. 100 has its own, so that the two are the worst.
TEST(Matching, ExchangesWithinABlockOfTheWorst)
{
    const Points first{3, 1, {0, 1, 100}}, pool{3, 1, {2, -4, 100}};
    const Standardised data = standardise(first, pool);
    IndividualMatching matching(data, 1);
    EXPECT_TRUE(matching.improve(2, Order::WorstFirst));
}

TEST(Matching, GainsWithEveryRoundOfBlocksAndKeepsItsOrderOfLines)
{
    for (uint64_t seed = 0; seed < 60; ++seed) {
        const Input input = makeInput(seed, 40);
        const Standardised data = standardise(input.first, input.pool);
        const auto distances = plainDistances(input.first, input.pool);
        IndividualMatching matching(data, input.hitnumber);
        Total last = totalOf(matching, distances, input.hitnumber);
        for (bool hasGained = true; hasGained;) {
            hasGained = matching.improve(1 + seed % 7, Order(seed % 3));
            const Total next = totalOf(matching, distances, input.hitnumber);
            EXPECT_EQ(next.count > last.count || next.distance < last.distance, hasGained) << "seed " << seed;
            last = next;
        }
    }
}

// The objective from scratch, for members that have all columns.
static double plainObjective(const Input &input, const std::vector<uint32_t> &members)
{
    double sum = 0;
    for (size_t c = 0; c < input.first.columnCount; ++c) {
        std::vector<double> values;
        for (const uint32_t member : members)
            values.push_back(input.pool[member][c]);
        const auto moments = [](const std::vector<double> &of) {
            double mean = 0, squares = 0;
            for (const double value : of)
                mean += value / double(of.size());
            for (const double value : of)
                squares += (value - mean) * (value - mean) / double(of.size());
            return std::pair(mean, std::max(std::sqrt(squares), 1e-300));
        };
        const auto own = moments(input.first.column(c)), theirs = moments(values);
        sum += std::pow((theirs.first - own.first) / own.second, 2);
        sum += std::pow(std::log(std::max(theirs.second / own.second, 1e-9)), 2);
    }
    return sum;
}

TEST(GroupMatching, EndsWhereNoExchangeHelps)
{
    size_t seen = 0;
    for (uint64_t seed = 0; seed < 120; ++seed) {
        const Input input = makeInput(seed, 30);
        const auto hasMissing = [](const Points &points) { return std::ranges::any_of(points.values, isMissing); };
        if (input.first.count < 3 || hasMissing(input.first) || hasMissing(input.pool))
            continue;
        ++seen;
        const Standardised data = standardise(input.first, input.pool);
        std::vector<uint32_t> members(input.first.count * input.hitnumber);
        for (uint32_t i = 0; i < members.size(); ++i)
            members[i] = i;
        GroupMatching group(data, members);
        double last = group.objective();
        EXPECT_NEAR(last, plainObjective(input, members), 1e-6 * last) << "seed " << seed;
        for (int round = 0; round < 100 && group.improve(); ++round) {
            EXPECT_LT(group.objective(), last) << "seed " << seed;
            last = group.objective();
        }
        members = group.members();
        ASSERT_EQ(std::set<uint32_t>(members.begin(), members.end()).size(), input.first.count * input.hitnumber);
        const double found = plainObjective(input, members);
        EXPECT_NEAR(found, last, 1e-6 * last + 1e-12) << "seed " << seed;
        for (uint32_t &member : members) {
            for (uint32_t other = 0; other < input.pool.count; ++other) {
                if (std::ranges::find(group.members(), other) != group.members().end())
                    continue;
                const uint32_t kept = std::exchange(member, other);
                ASSERT_GT(plainObjective(input, members), found * (1 - 1e-6) - 1e-12) << "seed " << seed;
                member = kept;
            }
        }
    }
    EXPECT_GT(seen, 30u);
}
