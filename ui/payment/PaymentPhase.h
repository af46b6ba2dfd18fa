#pragma once

#include <optional>

namespace kelpay {

/// Where a payment screen stands.
enum class PaymentPhase {
    Entering,    ///< The form is the payer's.
    Paying,      ///< A payment is on its way.
    Unknown,     ///< No answer came to it, and none will.
    Leaving,     ///< The merchant has no verification link; the screen is about to end for that.
    ReceiptOpen, ///< The receipt has the outcome; nothing else is reported until it has told it.
    Kept,        ///< The receipt told it, and the form is the payer's again.
    Reported,    ///< The host was told of an end without a receipt; the screen goes.
};

enum class PhaseEvent {
    Pay,          ///< A complete form, or the wallet, is submitted.
    Answer,       ///< The service answered.
    FallSilent,   ///< The payment ended without an answer.
    TakeBack,     ///< It could not be built, by a mistake of the host's: nothing was done.
    CloseReceipt, ///< The receipt told the host its outcome, and the screen stays.
    FindNoLink,   ///< The payer asks for a verification link that isn't there.
    ReportCancel, ///< The payer gives up.
    ReportTime,   ///< The ten minutes are over.
    ReportNoLink, ///< The payer has read that there is no link.
};

/// The phase that follows; std::nullopt where the event has no effect.
std::optional<PaymentPhase> phaseAfter(PaymentPhase phase, PhaseEvent event);

} // namespace kelpay
