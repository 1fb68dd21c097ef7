/// Guesses which word was meant by a misspelt one, for error messages. A free function without
/// state; any thread may call it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace corebeacon::tool {

/// "; did you mean 'boost'?" when a candidate is near to `word`, else "". Case does not count; of
/// several the nearest wins, of equals the first.
std::string DidYouMean(std::string_view word, const std::vector<std::string_view>& candidates);

}  // namespace corebeacon::tool
