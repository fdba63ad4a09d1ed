// What this program, and with it every program under test, was built with.
#pragma once

#if defined(__has_feature)
#define SENTREL_TEST_HAS_FEATURE(feature) __has_feature(feature)
#else
#define SENTREL_TEST_HAS_FEATURE(feature) 0
#endif

#if defined(__SANITIZE_ADDRESS__) || SENTREL_TEST_HAS_FEATURE(address_sanitizer)
inline constexpr bool kHasAddressSanitizer = true;
#else
inline constexpr bool kHasAddressSanitizer = false;
#endif
#if defined(__SANITIZE_THREAD__) || SENTREL_TEST_HAS_FEATURE(thread_sanitizer)
inline constexpr bool kHasThreadSanitizer = true;
#else
inline constexpr bool kHasThreadSanitizer = false;
#endif
