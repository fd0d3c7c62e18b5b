#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string_view>

#include <unicode/unistr.h>

namespace nx::util::detail {

/// A key to look for, and its hash. It refers to its characters. The null text is another key than
/// the empty one.
struct PropertyKey {
    explicit PropertyKey(const icu::UnicodeString& key);
    explicit PropertyKey(std::u16string_view key);

    std::u16string_view text;
    bool isNull;
    std::uint64_t hash;
};

/// Finds the pairs of an ordered map by hash. It holds iterators, no strings, and is told of every
/// pair that comes and goes. Reading it is safe from any number of threads.
class PropertyIndex {
  public:
    using Map = std::map<icu::UnicodeString, icu::UnicodeString>;

    explicit PropertyIndex(Map& map) : map_(map) {}

    /// map.end() when there is none.
    Map::iterator find(const icu::UnicodeString& key) const { return find(PropertyKey(key)); }
    Map::iterator find(const PropertyKey& key) const;

    std::size_t size() const { return used_; }
    /// Whether `count` pairs find room.
    bool holds(std::size_t count) const { return count * 3 <= slotCount_ * 2; }
    /// Makes room for `count` pairs, so that insert() cannot fail up to then. Throws
    /// std::bad_alloc.
    void reserve(std::size_t count);
    /// Makes room for one more pair. Throws std::bad_alloc.
    void reserveOne() { reserve(used_ + 1); }
    /// The key of `pair` is not in the index.
    void insert(Map::iterator pair);
    /// Asks the processor for the memory where insert() will look for a key of this hash.
    void prefetch(std::uint64_t hash) const { __builtin_prefetch(&slots_[home(hash)], 1); }
    /// The same as insert(pair) for a key with this hash.
    void insert(Map::iterator pair, std::uint64_t hash);
    void erase(Map::iterator pair);
    /// Exchanges the entries; the maps, whose pairs they are, are exchanged by the caller.
    void swap(PropertyIndex& other);

  private:
    struct Slot {
        std::uint64_t hash;  // 0 marks a free slot
        Map::iterator pair;
    };

    std::size_t home(std::uint64_t hash) const { return hash & (slotCount_ - 1); }
    std::size_t next(std::size_t slot) const { return (slot + 1) & (slotCount_ - 1); }
    void place(const Slot& slot);

    Map& map_;
    std::unique_ptr<Slot[]> slots_;
    std::size_t slotCount_ = 0;
    std::size_t used_ = 0;
};

}  // namespace nx::util::detail
