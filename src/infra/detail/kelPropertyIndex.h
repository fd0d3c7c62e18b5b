#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>

#include <unicode/unistr.h>

namespace nx::util::detail {

/// Finds the pairs of an ordered map by hash. It holds iterators, no strings, and is told of every
/// pair that comes and goes. Reading it is safe from any number of threads.
class PropertyIndex {
  public:
    using Map = std::map<icu::UnicodeString, icu::UnicodeString>;

    explicit PropertyIndex(Map& map) : map_(map) {}

    /// map.end() when there is none.
    Map::iterator find(const icu::UnicodeString& key) const;

    /// Makes room, so that the next insert() cannot fail. Throws std::bad_alloc.
    void reserveOne();
    /// The key of `pair` is not in the index.
    void insert(Map::iterator pair);
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
