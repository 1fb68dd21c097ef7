/// A map of very few entries, kept side by side in ascending order: a request names one or two
/// groups with one or two values each, and a node of the heap for each would cost more than the
/// rest of the request. Owned and locked like a std::map, whose names it uses; unlike there, adding
/// an entry and moving the map invalidate what points to entries, and keys must be left alone.
#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <utility>

#include "platform/small_vector.h"

namespace corebeacon {

/// `kInside` entries need no heap, nor does a copy of them.
template <typename Key, typename Value, std::size_t kInside>
class FlatMap {
    using Entries = SmallVector<std::pair<Key, Value>, kInside>;

public:
    using key_type = Key;
    using mapped_type = Value;
    using value_type = typename Entries::value_type;
    using iterator = value_type*;
    using const_iterator = const value_type*;

    FlatMap() = default;
    FlatMap(std::initializer_list<value_type> entries) {
        for (const auto& [key, value] : entries) {
            emplace(key, value);
        }
    }

    std::size_t size() const { return mEntries.size(); }
    bool empty() const { return mEntries.empty(); }
    iterator begin() { return mEntries.begin(); }
    iterator end() { return mEntries.end(); }
    const_iterator begin() const { return mEntries.begin(); }
    const_iterator end() const { return mEntries.end(); }
    /// The entry with the greatest key.
    const value_type& back() const { return mEntries.back(); }

    iterator find(Key key) {
        const iterator entry = LowerBound(begin(), end(), key);
        return entry != end() && entry->first == key ? entry : end();
    }
    const_iterator find(Key key) const {
        const const_iterator entry = LowerBound(begin(), end(), key);
        return entry != end() && entry->first == key ? entry : end();
    }
    /// There must be an entry.
    const Value& at(Key key) const { return find(key)->second; }
    Value& operator[](Key key) {
        const iterator entry = LowerBound(begin(), end(), key);
        return entry != end() && entry->first == key ? entry->second : Insert(entry, key).second;
    }
    /// Leaves an entry that is there as it is; whether there was none.
    std::pair<iterator, bool> emplace(Key key, Value value) {
        const iterator entry = LowerBound(begin(), end(), key);
        if (entry != end() && entry->first == key) {
            return {entry, false};
        }
        value_type& added = Insert(entry, key);
        added.second = std::move(value);
        return {&added, true};
    }

    void clear() { mEntries.truncate(0); }
    /// How many there were: 0 or 1.
    std::size_t erase(Key key) {
        const iterator entry = find(key);
        if (entry == end()) {
            return 0;
        }
        std::rotate(entry, entry + 1, end());
        mEntries.truncate(size() - 1);
        return 1;
    }

    friend bool operator==(const FlatMap& a, const FlatMap& b) { return a.mEntries == b.mEntries; }

private:
    template <typename Iterator>
    static Iterator LowerBound(Iterator entry, Iterator last, Key key) {
        while (entry != last && entry->first < key) {
            ++entry;
        }
        return entry;
    }

    value_type& Insert(iterator place, Key key) {
        const auto at = place - begin();
        value_type& added = mEntries.emplace_back();
        added.first = key;
        added.second = Value();
        std::rotate(begin() + at, &added, end());
        return begin()[at];
    }

    Entries mEntries;
};

}  // namespace corebeacon
