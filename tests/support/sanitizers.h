// What this program, and with it every program under test, was built with.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool kHasAddressSanitizer = true;
#else
inline constexpr bool kHasAddressSanitizer = false;
#endif
#if defined(__SANITIZE_THREAD__)
inline constexpr bool kHasThreadSanitizer = true;
#else
inline constexpr bool kHasThreadSanitizer = false;
#endif
