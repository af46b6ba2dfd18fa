#pragma once

#include "Scenarios.h"

#include <QByteArray>

#include <functional>

typedef struct ssl_st SSL;

namespace httplib {
struct Response;
}

namespace kelpay::sandbox {

/// One connection, for the faults that need more than an HTTP answer.
struct Wire
{
    SSL *connection = nullptr;
    /// Waits, or returns early when the service stops.
    std::function<void(int seconds)> wait;
    int hangSeconds = 75;
};

/// The HTTP status that goes with a fault; 0 where no answer is sent.
int statusFor(Fault fault);

/// Answers with `plain` sealed under `key`, spoilt by `fault`.
void answer(httplib::Response &response, const QByteArray &plain, const QByteArray &key, Fault fault, const Wire &wire);

} // namespace kelpay::sandbox
