#pragma once

#include <QString>

namespace kelpay {

/// The ten minutes that a payer has, one tick a second: shown from 9:59 down to 0:00, silent at the 601st tick, over at
/// the 602nd.
class Countdown
{
public:
    enum class Tick { Shown, Silent, Over };

    Tick fire();
    int minute() const { return m_minute; }
    int seconds() const { return m_seconds; }
    QString text() const;

private:
    int m_minute = 10;
    int m_seconds = 0;
};

} // namespace kelpay
