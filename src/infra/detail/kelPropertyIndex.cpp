#include "infra/detail/kelPropertyIndex.h"

#include <cstring>
#include <utility>

#include "infra/detail/kelTextHash.h"
#include "infra/detail/kelUnitText.h"

namespace nx::util::detail {

namespace {

constexpr std::size_t FIRST_SLOT_COUNT = 16;

std::uint64_t hashOf(std::u16string_view key) {
    return oss::detail::hashText(key.data(), key.size() * sizeof(char16_t));
}

bool sameKey(const icu::UnicodeString& stored, const PropertyKey& key) {
    const std::size_t length = key.text.size();
    return static_cast<std::size_t>(stored.length()) == length &&
           (length == 0
                ? static_cast<bool>(stored.isBogus()) == key.isNull
                : std::memcmp(stored.getBuffer(), key.text.data(), length * sizeof(char16_t)) == 0);
}

}  // namespace

PropertyKey::PropertyKey(const icu::UnicodeString& key)
    : text(oss::detail::viewOf(key)), isNull(key.isBogus()), hash(hashOf(text)) {}

PropertyKey::PropertyKey(std::u16string_view key) : text(key), isNull(false), hash(hashOf(text)) {}

PropertyIndex::Map::iterator PropertyIndex::find(const PropertyKey& key) const {
    if (used_ == 0) {
        return map_.end();
    }
    for (std::size_t slot = home(key.hash); slots_[slot].hash != 0; slot = next(slot)) {
        if (slots_[slot].hash == key.hash && sameKey(slots_[slot].pair->first, key)) {
            return slots_[slot].pair;
        }
    }
    return map_.end();
}

void PropertyIndex::reserve(std::size_t count) {
    // At most two thirds are used, so that searches stay short.
    if (holds(count)) {
        return;
    }
    std::size_t newCount = slotCount_ == 0 ? FIRST_SLOT_COUNT : slotCount_;
    while (newCount * 2 < count * 3) {
        newCount *= 2;
    }
    auto slots = std::make_unique<Slot[]>(newCount);
    const auto old = std::exchange(slots_, std::move(slots));
    const std::size_t oldCount = std::exchange(slotCount_, newCount);
    for (std::size_t slot = 0; slot < oldCount; ++slot) {
        if (old[slot].hash != 0) {
            place(old[slot]);
        }
    }
}

void PropertyIndex::insert(Map::iterator pair) { insert(pair, PropertyKey(pair->first).hash); }

void PropertyIndex::insert(Map::iterator pair, std::uint64_t hash) {
    place({hash, pair});
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
    std::size_t hole = home(PropertyKey(pair->first).hash);
    while (slots_[hole].pair != pair) {  // no slot is free between its home and its place
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
