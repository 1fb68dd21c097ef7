#include "near_match.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>

namespace corebeacon::tool {

namespace {

// These bound the work that a bad script causes.
constexpr std::size_t kMaxWordBytes = 64;
constexpr std::size_t kMaxCandidates = 256;

/// From how many letters on a word counts as the beginning of a longer one.
constexpr std::size_t kMinPrefixBytes = 3;

std::string LowerCase(std::string_view word) {
    std::string lower(word);
    for (char& letter : lower) {
        if (letter >= 'A' && letter <= 'Z') {
            letter = static_cast<char>(letter - 'A' + 'a');
        }
    }
    return lower;
}

/// How many letters must be inserted, dropped, replaced or swapped with their neighbour to turn one
/// word into the other.
std::size_t EditDistance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> before;  // the row two above
    std::vector<std::size_t> above(b.size() + 1);
    std::iota(above.begin(), above.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::vector<std::size_t> row(b.size() + 1, i + 1);
        for (std::size_t j = 0; j < b.size(); ++j) {
            row[j + 1] =
                std::min({above[j] + (a[i] == b[j] ? 0U : 1U), row[j] + 1, above[j + 1] + 1});
            if (i > 0 && j > 0 && a[i] == b[j - 1] && a[i - 1] == b[j]) {
                row[j + 1] = std::min(row[j + 1], before[j - 1] + 1);
            }
        }
        before = std::exchange(above, std::move(row));
    }
    return above[b.size()];
}

/// `limit` and above are all the same.
std::size_t Distance(const std::string& word, const std::string& candidate, std::size_t limit) {
    if (word.size() >= kMinPrefixBytes && candidate.starts_with(word)) {
        return candidate == word ? 0 : 1;
    }
    // Each letter that one word has more must be inserted or dropped, so most need no closer look.
    const auto [shorter, longer] = std::minmax({word.size(), candidate.size()});
    return longer - shorter >= limit ? limit : EditDistance(word, candidate);
}

}  // namespace

std::string DidYouMean(std::string_view word, const std::vector<std::string_view>& candidates) {
    if (word.size() > kMaxWordBytes) {
        return "";
    }
    const std::string wanted = LowerCase(word);
    std::size_t nearest = std::max<std::size_t>(1, wanted.size() / 3) + 1;
    std::string_view meant;
    const std::size_t count = std::min(candidates.size(), kMaxCandidates);
    for (std::size_t i = 0; i < count; ++i) {
        const std::string_view candidate = candidates[i].substr(0, kMaxWordBytes);
        const std::size_t distance = Distance(wanted, LowerCase(candidate), nearest);
        // A word of which every letter would change resembles nothing.
        if (distance < nearest && distance < std::max(wanted.size(), candidate.size())) {
            nearest = distance;
            meant = candidates[i];
        }
    }
    return meant.empty() ? "" : "; did you mean '" + std::string(meant) + "'?";
}

}  // namespace corebeacon::tool
