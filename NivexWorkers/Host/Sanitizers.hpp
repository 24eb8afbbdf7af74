#pragma once

namespace nivex::worker {

// Which sanitizers this program was built with: each has habits that a sandbox must know of.
#if defined(__has_feature) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#if __has_feature(address_sanitizer)
#define __SANITIZE_ADDRESS__ 1
#endif
#if __has_feature(thread_sanitizer)
#define __SANITIZE_THREAD__ 1
#endif
#endif

#ifdef __SANITIZE_ADDRESS__
inline constexpr bool addressSanitized = true;
#else
inline constexpr bool addressSanitized = false;
#endif

#ifdef __SANITIZE_THREAD__
inline constexpr bool threadSanitized = true;
#else
inline constexpr bool threadSanitized = false;
#endif

/// The sanitizers keep their books in an address space that must not be limited.
inline constexpr bool limitsAddressSpace = !addressSanitized && !threadSanitized;

} // namespace nivex::worker
