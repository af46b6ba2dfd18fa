#pragma once

#include <QByteArray>

#include <cstdio>
#include <cstdlib>

namespace kelpay::fuzz {

/// Ends the process where a promise is not kept, so that the fuzzer keeps the input.
inline void require(bool isKept, const char *promise)
{
    if (isKept)
        return;
    std::fprintf(stderr, "not kept: %s\n", promise);
    std::abort();
}

/// `base` with pieces of it overwritten: two bytes say where, one how long, and what follows is written there. So a few
/// bytes reach deep into a format whose frame stays whole.
QByteArray patched(QByteArray base, QByteArrayView patches);

// The targets. Each takes any bytes.
void answers(const QByteArray &input);
void archives(const QByteArray &input);
void cardRules(const QByteArray &input);
void encodings(const QByteArray &input);
void envelope(const QByteArray &input);
void numbers(const QByteArray &input);
void pkcs12(const QByteArray &input);
void savedCards(const QByteArray &input);
void stateFiles(const QByteArray &input);

} // namespace kelpay::fuzz
