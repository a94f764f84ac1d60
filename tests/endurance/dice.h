#pragma once

#include <QList>
#include <QtGlobal>
#include <random>

namespace kivra::test {

/// Repeatable chance: the same seed gives the same throws on every machine.
class Dice
{
public:
    explicit Dice(quint32 seed)
        : engine(seed)
    {
    }

    /// 0 to \a sides - 1.
    int below(int sides) { return int(engine() % unsigned(sides)); }
    bool chance(int percent) { return below(100) < percent; }
    /// One row of a table whose rows have a weight.
    template<typename Row, std::size_t count>
    const Row &byWeight(const Row (&table)[count])
    {
        int all = 0;
        for (const Row &row : table)
            all += row.weight;
        int left = below(all);
        const Row *chosen = table;
        while (left >= chosen->weight)
            left -= (chosen++)->weight;
        return *chosen;
    }
    /// One of a list, an array or a string list that is not empty.
    template<typename List>
    const auto &oneOf(const List &list)
    {
        return *(std::begin(list) + below(int(std::size(list))));
    }

private:
    std::mt19937 engine;
};

} // namespace kivra::test
