#pragma once

// KELPAY_SANITIZED_MEMORY: a sanitizer allocates, and looks after what was freed.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KELPAY_SANITIZED_MEMORY
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define KELPAY_SANITIZED_MEMORY
#endif
#endif
