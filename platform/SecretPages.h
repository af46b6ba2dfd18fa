#pragma once

#include <cstddef>

namespace kelpay {

/// Memory for what the payer typed: whole pages that are never swapped out, are left out of core dumps and are zero in
/// a forked child, each as far as the system has it. What it can't do is logged once and does no harm.
namespace SecretPages {

/// At least `size` bytes, zeroed; null where there is no memory. Any thread.
void *take(std::size_t size) noexcept;
/// Wipes and gives back what take() gave for the same size.
void release(void *pages, std::size_t size) noexcept;

} // namespace SecretPages

} // namespace kelpay
