#include "infra/detail/kelPropertyLoader.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <tuple>
#include <utility>

namespace nx::util::detail {

namespace {

using oss::detail::PropertyLine;
using oss::detail::viewOf;
using Map = PropertyIndex::Map;

/// Becomes a string where a node is made, with no string in between.
struct NewText {
    std::u16string_view units;
    operator icu::UnicodeString() const { return oss::detail::toUnicodeString(units); }
};

Map::iterator emplace(Map& map, Map::iterator hint, std::u16string_view key,
                      std::u16string_view value) {
    return map.emplace_hint(hint, std::piecewise_construct, std::make_tuple(NewText{key}),
                            std::make_tuple(NewText{value}));
}

/// Code-unit order, as the map's.
bool isLess(std::u16string_view a, std::u16string_view b) {
    constexpr std::size_t WORD_UNITS = 4;
    const std::size_t common = std::min(a.size(), b.size());
    std::size_t i = 0;
    for (; i + WORD_UNITS <= common; i += WORD_UNITS) {
        if (std::memcmp(a.data() + i, b.data() + i, WORD_UNITS * sizeof(char16_t)) != 0) {
            break;
        }
    }
    for (; i < common; ++i) {
        if (a[i] != b[i]) {
            return a[i] < b[i];
        }
    }
    return a.size() < b.size();
}

/// A key to be sorted. Sorting looks at four units of all keys at a time, kept here side by side,
/// as the keys themselves are all over the memory.
struct SortedKey {
    std::uint64_t window;
    std::u16string_view key;
    std::size_t number;
};
using Iterator = std::vector<SortedKey>::iterator;

constexpr std::size_t WINDOW = 4;
// Windows looked at behind a common start before keys are compared as a whole.
constexpr int MOST_WINDOWS = 8;

std::uint64_t windowAt(std::u16string_view key, std::size_t depth) {
    std::uint64_t window = 0;
    for (std::size_t i = depth; i < depth + WINDOW; ++i) {
        window = window << 16 | (i < key.size() ? key[i] : 0U);
    }
    return window;
}

std::size_t commonLength(Iterator begin, Iterator end) {
    std::u16string_view common = begin->key;
    for (Iterator it = begin; it != end; ++it) {
        const auto differing =
            std::mismatch(common.begin(), common.end(), it->key.begin(), it->key.end());
        common = common.substr(0, static_cast<std::size_t>(differing.first - common.begin()));
    }
    return common.size();
}

bool allReach(Iterator begin, Iterator end, std::size_t depth) {
    return std::all_of(begin, end,
                       [depth](const SortedKey& entry) { return entry.key.size() >= depth; });
}

void sortWhole(Iterator begin, Iterator end) {
    std::sort(begin, end,
              [](const SortedKey& a, const SortedKey& b) { return isLess(a.key, b.key); });
}

/// Sorts keys that are equal up to `depth`.
void sortBehind(Iterator begin, Iterator end, std::size_t depth, int windows) {
    if (windows == 0 || !allReach(begin, end, depth)) {
        return sortWhole(begin, end);
    }
    for (Iterator it = begin; it != end; ++it) {
        it->window = windowAt(it->key, depth);
    }
    std::sort(begin, end,
              [](const SortedKey& a, const SortedKey& b) { return a.window < b.window; });
    while (begin != end) {
        const Iterator other = std::find_if(
            begin, end,
            [window = begin->window](const SortedKey& entry) { return entry.window != window; });
        if (other - begin > 1) {
            sortBehind(begin, other, depth + WINDOW, windows - 1);
        }
        begin = other;
    }
}

std::vector<SortedKey> inKeyOrder(const std::vector<Map::node_type>& nodes) {
    std::vector<SortedKey> entries;
    entries.reserve(nodes.size());
    for (const Map::node_type& node : nodes) {
        entries.push_back({0, viewOf(node.key()), entries.size()});
    }
    sortBehind(entries.begin(), entries.end(), commonLength(entries.begin(), entries.end()),
               MOST_WINDOWS);
    return entries;
}

/// Each node has its place behind the one before, or is looked for.
void linkInOrder(Map& map, std::vector<Map::node_type>& nodes,
                 const std::vector<SortedKey>& order) {
    auto place = map.end();
    for (const SortedKey& entry : order) {
        place = std::next(map.insert(place, std::move(nodes[entry.number])));
    }
}

void linkAll(Map& map, std::vector<Map::node_type>& nodes) {
    try {
        linkInOrder(map, nodes, inKeyOrder(nodes));
    } catch (const std::bad_alloc&) {
        // No memory to sort them: nothing has been linked, and linking allocates nothing.
        for (Map::node_type& node : nodes) {
            map.insert(std::move(node));
        }
    }
}

}  // namespace

PropertyLoader::PropertyLoader(Map& map, PropertyIndex& index) : map_(map), index_(index) {
    if (!map_.empty()) {
        last_ = viewOf(map_.rbegin()->first);
    }
}

PropertyLoader::~PropertyLoader() {
    enterWaiting();
    if (!staged_.empty()) {
        linkAll(map_, staged_);
    }
}

void PropertyLoader::load(oss::detail::PropertiesText text) {
    std::size_t pos = 0;
    for (;;) {
        switch (oss::detail::readPropertyLine(key_, value_, pos, text)) {
            case PropertyLine::NONE:
                return;
            case PropertyLine::NO_PAIR:
                break;
            case PropertyLine::PAIR:
                reserve(pos, text.length);
                put(key_.view(), value_.view());
        }
    }
}

/// Makes room in the index for one pair more; for as many as the rest of the text will hold when it
/// goes on like this, but not for many times what is there.
void PropertyLoader::reserve(std::size_t pos, std::size_t length) {
    const std::size_t size = index_.size() + waitingCount_;
    if (!index_.holds(size + 1)) {
        constexpr std::size_t MOST_GROWTH = 8;
        const std::size_t expected = (length - pos) / (pos / (added_ + 1) + 1);
        index_.reserve(size + 1 + std::min(expected, MOST_GROWTH * size));
    }
}

void PropertyLoader::put(std::u16string_view key, std::u16string_view value) {
    if (staged_.empty() && isBehindAll(key)) {
        // No need to ask whether it is there.
        const auto pair = link(key, value);
        enter(pair, PropertyKey(key).hash);
        ++added_;
    } else {
        putOutOfOrder(key, value);
    }
}

void PropertyLoader::putOutOfOrder(std::u16string_view key, std::u16string_view value) {
    enterWaiting();
    const PropertyKey wanted(key);
    const auto found = index_.find(wanted);
    if (found != map_.end()) {
        found->second = oss::detail::toUnicodeString(value);
        return;
    }
    index_.insert(isBehindAll(key) ? link(key, value) : stage(key, value), wanted.hash);
    ++added_;
}

void PropertyLoader::enter(Map::iterator pair, std::uint64_t hash) {
    if (waitingCount_ == waiting_.size()) {
        enterWaiting();
    }
    index_.prefetch(hash);
    waiting_[waitingCount_++] = {pair, hash};
}

void PropertyLoader::enterWaiting() {
    for (std::size_t i = 0; i < waitingCount_; ++i) {
        index_.insert(waiting_[i].pair, waiting_[i].hash);
    }
    waitingCount_ = 0;
}

bool PropertyLoader::isBehindAll(std::u16string_view key) const {
    return map_.empty() || isLess(last_, key);
}

PropertyIndex::Map::iterator PropertyLoader::link(std::u16string_view key,
                                                  std::u16string_view value) {
    const auto pair = emplace(map_, map_.end(), key, value);
    last_ = viewOf(pair->first);
    return pair;
}

/// A node keeps its address, so the iterator is good again once the node is linked.
PropertyIndex::Map::iterator PropertyLoader::stage(std::u16string_view key,
                                                   std::u16string_view value) {
    if (staged_.size() == staged_.capacity()) {
        staged_.reserve(2 * staged_.size() + 16);
    }
    const auto pair = emplace(nursery_, nursery_.end(), key, value);
    staged_.push_back(nursery_.extract(pair));
    return pair;
}

}  // namespace nx::util::detail
