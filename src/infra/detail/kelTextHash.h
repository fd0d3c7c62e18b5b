#pragma once

#include <cstddef>
#include <cstdint>

namespace nx::oss::detail {

/// A hash of `length` bytes for tables in memory, never 0. It differs from process to process, so
/// that nobody can prepare texts that all collide.
std::uint64_t hashText(const void* bytes, std::size_t length);

}  // namespace nx::oss::detail
