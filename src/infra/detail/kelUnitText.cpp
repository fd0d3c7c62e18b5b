#include "infra/detail/kelUnitText.h"

#include <cstring>
#include <limits>

#include "infra/detail/kelRaise.h"

namespace nx::oss::detail {

void UnitText::grow(std::size_t count) {
    // Growth in proportion keeps a text of many pieces linear.
    const std::size_t capacity = length_ + count + length_ / 2;
    std::unique_ptr<char16_t[]> units(new char16_t[capacity]);
    std::memcpy(units.get(), units_, length_ * sizeof(char16_t));
    long_ = std::move(units);
    units_ = long_.get();
    capacity_ = capacity;
}

icu::UnicodeString toUnicodeString(std::u16string_view text) {
    if (text.size() > static_cast<std::size_t>(std::numeric_limits<int32_t>::max())) {
        raiseBadAlloc();
    }
    icu::UnicodeString result(text.data(), static_cast<int32_t>(text.size()));
    if (result.isBogus()) {
        raiseBadAlloc();  // ICU tells of a failed allocation in no other way
    }
    return result;
}

}  // namespace nx::oss::detail
