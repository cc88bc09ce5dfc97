// What the process held after so many sessions, a column for each kind.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "holdings.h"

namespace reliability {

// Has its memory from the beginning: what it holds itself must not look like a session's loss.
class HoldingsTable {
  public:
    explicit HoldingsTable(int rows) {
        kinds.reserve(kMaxKinds);
        cycles.reserve(static_cast<size_t>(rows));
        counts.reserve(static_cast<size_t>(rows) * kMaxKinds);
    }

    void Add(int cycle, const Holdings& holdings) {
        const size_t row = counts.size();
        cycles.push_back(cycle);
        counts.resize(row + kMaxKinds);
        for (const auto& [kind, count] : holdings) {
            const auto found = std::find(kinds.begin(), kinds.end(), kind);
            const auto column = static_cast<size_t>(found - kinds.begin());
            if (column == kMaxKinds) continue;
            if (found == kinds.end()) kinds.push_back(kind);
            counts[row + column] = count;
        }
    }

    std::string Text() const {
        std::string text = "cycle";
        for (const std::string& kind : kinds) text += "," + kind;
        text += "\n";
        for (size_t row = 0; row < counts.size(); row += kMaxKinds) {
            text += std::to_string(cycles[row / kMaxKinds]);
            for (size_t column = 0; column < kinds.size(); ++column)
                text += "," + std::to_string(counts[row + column]);
            text += "\n";
        }
        return text;
    }

  private:
    static constexpr size_t kMaxKinds = 24;

    std::vector<std::string> kinds;
    std::vector<int> cycles;
    std::vector<long> counts;  // kMaxKinds for each row, those of kinds that had not come up yet are 0
};

}  // namespace reliability
