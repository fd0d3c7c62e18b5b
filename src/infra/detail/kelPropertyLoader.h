#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "infra/detail/kelPropertiesReader.h"
#include "infra/detail/kelPropertyIndex.h"

namespace nx::util::detail {

/// Reads properties text into a map and its index: the same as putting one pair after the other,
/// with less work.
///
/// A key behind the last one is linked there. The others wait as nodes that are not linked yet,
/// known to the index only, so that the tree is searched once for each in key order and not at
/// random. They are linked when the object ends, so that pairs put before a failure stay.
class PropertyLoader {
  public:
    using Map = PropertyIndex::Map;

    PropertyLoader(Map& map, PropertyIndex& index);
    PropertyLoader(const PropertyLoader&) = delete;
    PropertyLoader& operator=(const PropertyLoader&) = delete;
    ~PropertyLoader();

    /// Throws std::bad_alloc.
    void load(oss::detail::PropertiesText text);

  private:
    void put(std::u16string_view key, std::u16string_view value);
    void putOutOfOrder(std::u16string_view key, std::u16string_view value);
    void enter(Map::iterator pair, std::uint64_t hash);
    void enterWaiting();
    void reserve(std::size_t pos, std::size_t length);
    bool isBehindAll(std::u16string_view key) const;
    Map::iterator link(std::u16string_view key, std::u16string_view value);
    Map::iterator stage(std::u16string_view key, std::u16string_view value);

    Map& map_;
    PropertyIndex& index_;
    oss::detail::UnitText key_;
    oss::detail::UnitText value_;
    std::size_t added_ = 0;

    // Pairs that the index does not know yet: its memory is asked for a little in advance.
    struct Waiting {
        Map::iterator pair;
        std::uint64_t hash;
    };
    std::array<Waiting, 16> waiting_;
    std::size_t waitingCount_ = 0;

    std::u16string_view last_;  // the key of the last pair of the map
    Map nursery_;               // where nodes are made; empty between calls
    std::vector<Map::node_type> staged_;
};

}  // namespace nx::util::detail
