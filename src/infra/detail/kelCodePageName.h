#pragma once

namespace nx::oss::detail {

/// The name as ICU takes it: an empty name asks for the default converter like a null one. ICU
/// itself reads an empty name as "invariant characters only" and would destroy every other
/// character.
inline const char* icuCodePage(const char* codePage) {
    return (codePage == nullptr || *codePage == '\0') ? nullptr : codePage;
}

}  // namespace nx::oss::detail
