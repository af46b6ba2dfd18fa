#pragma once

namespace kelpay {

/// The counterpart of TokenResponse; it has no members.
struct PaymentResponse
{
};

} // namespace kelpay
