#include "infra/detail/kelPropertyIndex.h"

#include <utility>

#include "infra/detail/kelTextHash.h"

namespace nx::util::detail {

namespace {

constexpr std::size_t FIRST_SLOT_COUNT = 16;

std::uint64_t hashOf(const icu::UnicodeString& key) {
    // A null key is another key than the empty one; that they share a hash does no harm.
    return oss::detail::hashText(key.getBuffer(),
                                 static_cast<std::size_t>(key.length()) * sizeof(char16_t));
}

bool sameKey(const icu::UnicodeString& a, const icu::UnicodeString& b) {
    return a == b && a.isBogus() == b.isBogus();
}

}  // namespace

PropertyIndex::Map::iterator PropertyIndex::find(const icu::UnicodeString& key) const {
    if (used_ == 0) {
        return map_.end();
    }
    const std::uint64_t hash = hashOf(key);
    for (std::size_t slot = home(hash); slots_[slot].hash != 0; slot = next(slot)) {
        if (slots_[slot].hash == hash && sameKey(slots_[slot].pair->first, key)) {
            return slots_[slot].pair;
        }
    }
    return map_.end();
}

void PropertyIndex::reserveOne() {
    // At most two thirds are used, so that searches stay short.
    if (slotCount_ != 0 && (used_ + 1) * 3 <= slotCount_ * 2) {
        return;
    }
    const std::size_t oldCount = slotCount_;
    const std::size_t newCount = oldCount == 0 ? FIRST_SLOT_COUNT : 2 * oldCount;
    auto slots = std::make_unique<Slot[]>(newCount);
    const auto old = std::exchange(slots_, std::move(slots));
    slotCount_ = newCount;
    for (std::size_t slot = 0; slot < oldCount; ++slot) {
        if (old[slot].hash != 0) {
            place(old[slot]);
        }
    }
}

void PropertyIndex::insert(Map::iterator pair) {
    place({hashOf(pair->first), pair});
    ++used_;
}

void PropertyIndex::place(const Slot& entry) {
    std::size_t slot = home(entry.hash);
    while (slots_[slot].hash != 0) {
        slot = next(slot);
    }
    slots_[slot] = entry;
}

void PropertyIndex::erase(Map::iterator pair) {
    std::size_t hole = home(hashOf(pair->first));
    while (slots_[hole].pair != pair || slots_[hole].hash == 0) {
        hole = next(hole);
    }
    // Entries behind the hole that a search would no longer reach move into it.
    for (std::size_t slot = next(hole); slots_[slot].hash != 0; slot = next(slot)) {
        const std::size_t distance = (slot - home(slots_[slot].hash)) & (slotCount_ - 1);
        if (distance >= ((slot - hole) & (slotCount_ - 1))) {
            slots_[hole] = slots_[slot];
            hole = slot;
        }
    }
    slots_[hole] = {};
    --used_;
}

void PropertyIndex::swap(PropertyIndex& other) {
    slots_.swap(other.slots_);
    std::swap(slotCount_, other.slotCount_);
    std::swap(used_, other.used_);
}

}  // namespace nx::util::detail
