#include "matching/assignment.h"
#include "tables/identifiers.h"

#include <cstring>

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

// Individuals of the block with the same values; they share their neighbours and what they hold.
struct Row {
    std::vector<uint32_t> individuals;
    std::vector<Neighbour> candidates{};  // present points in their order, as far as they were asked for
    bool hasAll = false;                  // there are no further ones
    std::vector<Neighbour> held{};
    double potential = 0;
};

class Assignment {
public:
    Assignment(const Points &individuals, std::span<const uint32_t> block, size_t hitnumber, const Forest &pool,
               const std::vector<double> &inverse, double farthest)
        : m_individuals(individuals)
        , m_hitnumber(hitnumber)
        , m_pool(pool)
        , m_inverse(inverse)
        , m_owners(pool.pointCount(), noNumber)
        , m_prices(pool.pointCount())
    {
        makeRows(block);
        m_labels.resize(m_rows.size());
        // More than any detour costs that gets one more match.
        m_withoutMatch = 4 * (farthest + 1e-300) * double(block.size() * hitnumber + 1);
    }

    void run()
    {
        for (uint32_t row = 0; row < m_rows.size(); ++row) {
            for (size_t unit = 0; unit < m_rows[row].individuals.size() * m_hitnumber; ++unit) {
                if (!findPath(row))
                    break;
                raisePrices();
                takePath(row);
            }
        }
    }

    // Deals what a row holds to its individuals: all get their nearest ones before any gets the next.
    void deal(Matches &matches)
    {
        for (Row &row : m_rows) {
            std::sort(row.held.begin(), row.held.end());
            for (const uint32_t individual : row.individuals)
                matches[individual].clear();
            for (size_t i = 0; i < row.held.size(); ++i)
                matches[row.individuals[i % row.individuals.size()]].push_back(row.held[i]);
        }
    }

private:
    // What the search for a shortest path knows of a row.
    struct Label {
        double length = infinity;    // of the path to it
        uint32_t before = noNumber;  // the row that the path comes from, taking `taken` away from this one
        Neighbour taken{};
        bool isDone = false;
    };
    struct Waiting {
        double length;
        uint32_t row;
        bool operator<(const Waiting &other) const  // the shortest one on top of a heap
        {
            return length > other.length || (length == other.length && row > other.row);
        }
    };

    void makeRows(std::span<const uint32_t> block)
    {
        const size_t bytes = m_individuals.columnCount * sizeof(double);
        std::vector<uint32_t> places(block.size());  // in the block
        for (uint32_t place = 0; place < block.size(); ++place)
            places[place] = place;
        const auto compare = [&](uint32_t a, uint32_t b) {
            return bytes > 0 ? std::memcmp(m_individuals[block[a]], m_individuals[block[b]], bytes) : 0;
        };
        std::sort(places.begin(), places.end(), [&](uint32_t a, uint32_t b) {
            const int difference = compare(a, b);
            return difference < 0 || (difference == 0 && a < b);
        });
        std::vector<uint32_t> firsts(block.size());  // [place] the first one with the same values
        for (size_t i = 0; i < places.size(); ++i) {
            const bool isSame = i > 0 && compare(places[i - 1], places[i]) == 0;
            firsts[places[i]] = isSame ? firsts[places[i - 1]] : places[i];
        }
        std::vector<uint32_t> rowOf(block.size());
        for (uint32_t place = 0; place < block.size(); ++place) {
            if (firsts[place] == place) {
                rowOf[place] = uint32_t(m_rows.size());
                m_rows.push_back({{}});
            }
            m_rows[rowOf[firsts[place]]].individuals.push_back(block[place]);
        }
    }

    // The row's neighbour at this place; null behind the last one.
    const Neighbour *candidate(Row &row, size_t place)
    {
        if (place == row.candidates.size() && !row.hasAll) {
            const size_t count = std::max(m_firstCandidates, row.candidates.size());
            const Neighbour last = row.candidates.empty() ? beforeAll : row.candidates.back();
            findNearest(m_pool, m_individuals[row.individuals[0]], m_inverse, count, last, row.candidates);
            row.hasAll = row.candidates.size() < place + count;
        }
        return place < row.candidates.size() ? &row.candidates[place] : nullptr;
    }

    // Finds the shortest path from the row to a free point, or to a row that gives a match up for it. False where the
    // row can have nothing more, and not by such an exchange.
    bool findPath(uint32_t start)
    {
        for (const uint32_t row : m_reached)
            m_labels[row] = {};
        m_reached.assign(1, start);
        m_waiting.clear();
        m_end = {infinity, noNumber, {0, noNumber}};
        m_labels[start].length = 0;
        m_waiting.push_back({0, start});
        while (!m_waiting.empty()) {
            const Waiting next = m_waiting.front();
            if (next.length >= m_end.length)
                break;
            std::pop_heap(m_waiting.begin(), m_waiting.end());
            m_waiting.pop_back();
            if (!m_labels[next.row].isDone)
                extend(next.row);
        }
        return m_end.point.point != noNumber || m_end.row != start;
    }

    void extend(uint32_t number)
    {
        Row &row = m_rows[number];
        Label &label = m_labels[number];
        label.isDone = true;
        const double base = label.length - row.potential;
        if (base + m_withoutMatch < m_end.length)
            m_end = {base + m_withoutMatch, number, {0, noNumber}};
        for (size_t place = 0; const Neighbour *const neighbour = candidate(row, place); ++place) {
            const double length = base + neighbour->distance;
            if (length >= m_end.length)
                return;
            const uint32_t owner = m_owners[neighbour->point];
            if (owner == noNumber) {
                m_end = {std::max(length, label.length), number, *neighbour};
                return;
            }
            const double behind = std::max(length + m_prices[neighbour->point], label.length);
            Label &other = m_labels[owner];
            if (behind >= other.length || behind >= m_end.length || other.isDone)
                continue;
            if (other.length == infinity)
                m_reached.push_back(owner);
            other.length = behind;
            other.before = number;
            other.taken = *neighbour;
            m_waiting.push_back({behind, owner});
            std::push_heap(m_waiting.begin(), m_waiting.end());
        }
    }

    // Keeps every row's points its best ones at the prices, and none better than these.
    void raisePrices()
    {
        for (const uint32_t number : m_reached) {
            if (!m_labels[number].isDone)
                continue;
            Row &row = m_rows[number];
            row.potential += m_end.length - m_labels[number].length;
            for (const Neighbour &held : row.held)
                m_prices[held.point] = std::max(row.potential - held.distance, 0.0);
        }
    }

    void takePath(uint32_t start)
    {
        uint32_t number = m_end.row;
        if (m_end.point.point != noNumber)
            hold(number, m_end.point);
        while (number != start) {
            const Label &label = m_labels[number];
            std::vector<Neighbour> &held = m_rows[number].held;
            held.erase(std::find_if(held.begin(), held.end(),
                                    [&](const Neighbour &each) { return each.point == label.taken.point; }));
            number = label.before;
            hold(number, label.taken);
        }
    }

    void hold(uint32_t number, const Neighbour &neighbour)
    {
        m_rows[number].held.push_back(neighbour);
        m_owners[neighbour.point] = number;
        m_prices[neighbour.point] = std::max(m_rows[number].potential - neighbour.distance, 0.0);
    }

    const Points &m_individuals;
    size_t m_hitnumber;
    const Forest &m_pool;
    const std::vector<double> &m_inverse;
    double m_withoutMatch;  // what it costs to leave an individual with one match less
    std::vector<Row> m_rows;
    std::vector<uint32_t> m_owners;  // [point] row
    std::vector<double> m_prices;    // [point]

    static constexpr size_t m_firstCandidates = 16;

    std::vector<Label> m_labels;  // [row]
    std::vector<uint32_t> m_reached;
    std::vector<Waiting> m_waiting;  // a heap
    struct {
        double length;
        uint32_t row;
        Neighbour point;  // none: the row goes without
    } m_end;              // of the shortest path so far
};

}  // namespace

void assign(const Points &individuals, std::span<const uint32_t> block, size_t hitnumber, const Forest &pool,
            const std::vector<double> &inverse, double farthest, Matches &matches)
{
    Assignment assignment(individuals, block, hitnumber, pool, inverse, farthest);
    assignment.run();
    assignment.deal(matches);
}
