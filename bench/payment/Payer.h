#pragma once

#include <QByteArray>

#include <optional>

namespace kelpay::bench {

/// The bodies of a payment's two POSTs, sealed and ready to leave.
struct Envelopes
{
    QByteArray token;
    QByteArray payment;
};

/// Stores what a host gives before its first payment.
Q_DECL_EXPORT void prepare();

/// A token and its payment as the screens send them, with every fact and every line of the stores. On the main thread;
/// false where the payment did not succeed.
Q_DECL_EXPORT bool pay();

/// Asks for an address where the system's trust store decides; false unless it refuses who answers.
Q_DECL_EXPORT bool askStranger(const QByteArray &url);

/// What a payment sends, for somebody else to send; std::nullopt where there is no token for it.
Q_DECL_EXPORT std::optional<Envelopes> envelopes();

} // namespace kelpay::bench
