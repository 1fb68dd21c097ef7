#include "config/freq_list.h"

#include <locale>
#include <set>
#include <sstream>

#include "platform/node_reader.h"

namespace corebeacon {

FreqListStatus ReadFreqList(const std::string& path, std::vector<std::int64_t>& freqs) {
    std::string text;
    if (ReadNode(path, text) == NodeStatus::NOT_OPENED) {
        return FreqListStatus::NODE_MISSING;
    }
    std::istringstream stream(text);
    // The kernel groups no digits, whatever locale the host has made the global one.
    stream.imbue(std::locale::classic());
    std::set<std::int64_t> sorted;
    std::int64_t freq = 0;
    while (stream >> freq) {
        sorted.insert(freq);
    }
    if (sorted.empty()) {
        return FreqListStatus::EMPTY;
    }
    freqs.assign(sorted.begin(), sorted.end());
    return FreqListStatus::READ;
}

}  // namespace corebeacon
