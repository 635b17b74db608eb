#pragma once

namespace importkcd::testing {

/// Whether AddressSanitizer watches over this program; g++ and clang++ tell in ways of their own.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool is_sanitized = true;
#elif defined(__has_feature)
inline constexpr bool is_sanitized = __has_feature(address_sanitizer);
#else
inline constexpr bool is_sanitized = false;
#endif

}  // namespace importkcd::testing
