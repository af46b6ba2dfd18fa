#include "PaymentPhase.h"

#include <algorithm>
#include <array>

namespace kelpay {

namespace {

using Phase = PaymentPhase;
using Event = PhaseEvent;

struct Transition
{
    Phase from;
    Event event;
    Phase to;
};

// What is not here has no effect.
constexpr std::array transitions{
    Transition{Phase::Entering, Event::Pay, Phase::Paying},
    Transition{Phase::Entering, Event::FindNoLink, Phase::Leaving},
    Transition{Phase::Entering, Event::ReportCancel, Phase::Reported},
    Transition{Phase::Entering, Event::ReportTime, Phase::Reported},
    Transition{Phase::Paying, Event::Answer, Phase::ReceiptOpen},
    Transition{Phase::Paying, Event::FallSilent, Phase::Unknown},
    Transition{Phase::Paying, Event::TakeBack, Phase::Entering},
    Transition{Phase::Paying, Event::ReportCancel, Phase::Reported},
    Transition{Phase::Paying, Event::ReportTime, Phase::Reported},
    Transition{Phase::Unknown, Event::ReportCancel, Phase::Reported},
    Transition{Phase::Unknown, Event::ReportTime, Phase::Reported},
    Transition{Phase::Leaving, Event::ReportNoLink, Phase::Reported},
    Transition{Phase::Leaving, Event::ReportCancel, Phase::Reported},
    Transition{Phase::Leaving, Event::ReportTime, Phase::Reported},
    Transition{Phase::ReceiptOpen, Event::CloseReceipt, Phase::Kept},
    Transition{Phase::Kept, Event::Pay, Phase::Paying},
    Transition{Phase::Kept, Event::FindNoLink, Phase::Leaving},
    Transition{Phase::Kept, Event::ReportCancel, Phase::Reported},
};

} // namespace

std::optional<PaymentPhase> phaseAfter(PaymentPhase phase, PhaseEvent event)
{
    const auto *const found = std::find_if(transitions.begin(), transitions.end(), [&](const Transition &transition) {
        return transition.from == phase && transition.event == event;
    });
    return found == transitions.end() ? std::nullopt : std::optional(found->to);
}

} // namespace kelpay
