#pragma once

namespace nx::test {

// What the tests are built with: g++ defines names for it, clang has a feature.
#if defined(__has_feature)
constexpr bool ADDRESS_SANITIZER = __has_feature(address_sanitizer);
constexpr bool THREAD_SANITIZER = __has_feature(thread_sanitizer);
#else
#ifdef __SANITIZE_ADDRESS__
constexpr bool ADDRESS_SANITIZER = true;
#else
constexpr bool ADDRESS_SANITIZER = false;
#endif
#ifdef __SANITIZE_THREAD__
constexpr bool THREAD_SANITIZER = true;
#else
constexpr bool THREAD_SANITIZER = false;
#endif
#endif

}  // namespace nx::test
