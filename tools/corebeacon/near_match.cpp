#include "near_match.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <numeric>

namespace corebeacon::tool {

namespace {

// These bound the work that a bad script causes.
constexpr std::size_t kMaxWordBytes = 64;
constexpr std::size_t kMaxCandidates = 256;

/// From how many letters on a word counts as the beginning of a longer one.
constexpr std::size_t kMinPrefixBytes = 3;

/// A word in lower case, as far as it counts. On the stack, as a bad word is compared with all
/// there are.
class Word {
public:
    explicit Word(std::string_view word) : mSize(std::min(word.size(), kMaxWordBytes)) {
        std::transform(word.begin(), word.begin() + static_cast<std::ptrdiff_t>(mSize),
                       mLetters.begin(), [](char letter) {
                           const bool isUpper = letter >= 'A' && letter <= 'Z';
                           return isUpper ? static_cast<char>(letter - 'A' + 'a') : letter;
                       });
    }

    std::string_view Text() const { return {mLetters.data(), mSize}; }

private:
    const std::size_t mSize;
    std::array<char, kMaxWordBytes> mLetters;
};

/// How many letters must be inserted, dropped, replaced or swapped with their neighbour to turn one
/// word into the other. `limit` and above are all the same.
std::size_t EditDistance(std::string_view a, std::string_view b, std::size_t limit) {
    std::array<std::array<std::size_t, kMaxWordBytes + 1>, 3> rows;  // in turn; by prefixes of a
    std::iota(rows[0].begin(), rows[0].begin() + static_cast<std::ptrdiff_t>(b.size()) + 1,
              std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        const auto& before = rows[(i + 2) % 3];
        const auto& above = rows[i % 3];
        auto& row = rows[(i + 1) % 3];
        row[0] = i + 1;
        std::size_t least = row[0];
        for (std::size_t j = 0; j < b.size(); ++j) {
            std::size_t cell = above[j] + (a[i] == b[j] ? 0U : 1U);
            cell = std::min(cell, std::min(row[j], above[j + 1]) + 1);
            if (i > 0 && j > 0 && a[i] == b[j - 1] && a[i - 1] == b[j]) {
                cell = std::min(cell, before[j - 1] + 1);
            }
            row[j + 1] = cell;
            least = std::min(least, cell);
        }
        // The row above is at most one nearer, so from neither a nearer end can be reached.
        if (least >= limit) {
            return limit;
        }
    }
    return rows[a.size() % 3][b.size()];
}

/// `limit` and above are all the same.
std::size_t Distance(std::string_view word, std::string_view candidate, std::size_t limit) {
    if (word.size() >= kMinPrefixBytes && candidate.starts_with(word)) {
        return candidate == word ? 0 : 1;
    }
    // Each letter that one word has more must be inserted or dropped, so most need no closer look.
    const auto [shorter, longer] = std::minmax({word.size(), candidate.size()});
    return longer - shorter >= limit ? limit : EditDistance(word, candidate, limit);
}

}  // namespace

std::string DidYouMean(std::string_view word, const std::vector<std::string_view>& candidates) {
    if (word.size() > kMaxWordBytes) {
        return "";
    }
    const Word wanted(word);
    std::size_t nearest = std::max<std::size_t>(1, word.size() / 3) + 1;
    std::string_view meant;
    const std::size_t count = std::min(candidates.size(), kMaxCandidates);
    for (std::size_t i = 0; i < count; ++i) {
        const Word candidate(candidates[i]);
        const std::size_t distance = Distance(wanted.Text(), candidate.Text(), nearest);
        // A word of which every letter would change resembles nothing.
        if (distance < nearest && distance < std::max(word.size(), candidate.Text().size())) {
            nearest = distance;
            meant = candidates[i];
        }
    }
    return meant.empty() ? "" : "; did you mean '" + std::string(meant) + "'?";
}

}  // namespace corebeacon::tool
