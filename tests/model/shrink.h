/// Makes a failing sequence short: takes steps out, in ever smaller runs, as long as what is left
/// still fails. Plain functions; `fails` must answer the same for the same steps.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace corebeacon::model {

/// `steps` without the `count` steps from `at` on.
template <typename Step>
std::vector<Step> Without(const std::vector<Step>& steps, std::size_t at, std::size_t count) {
    const auto first = steps.begin() + static_cast<std::ptrdiff_t>(at);
    const auto last = first + static_cast<std::ptrdiff_t>(std::min(count, steps.size() - at));
    std::vector<Step> left(steps.begin(), first);
    left.insert(left.end(), last, steps.end());
    return left;
}

/// A part of `steps` that still fails and of which no single step can be spared.
template <typename Step, typename Fails>
std::vector<Step> Shrink(std::vector<Step> steps, Fails fails) {
    std::size_t run = std::max<std::size_t>(steps.size() / 2, 1);
    while (!steps.empty()) {
        bool shorter = false;
        for (std::size_t at = 0; at < steps.size();) {
            std::vector<Step> left = Without(steps, at, run);
            if (fails(left)) {
                steps = std::move(left);
                shorter = true;
            } else {
                at += run;
            }
        }
        if (run == 1 && !shorter) {
            break;
        }
        run = std::max<std::size_t>(run / 2, 1);
    }
    return steps;
}

}  // namespace corebeacon::model
