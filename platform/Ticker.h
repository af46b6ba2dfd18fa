#pragma once

#include <QObject>
#include <QTimer>

#include <chrono>

namespace kelpay {

/// A repeating precise timer on the main queue, behind a clock that tests can drive.
class Ticker : public QObject
{
    Q_OBJECT

public:
    explicit Ticker(std::chrono::milliseconds interval, QObject *parent = nullptr);

    void start();
    void invalidate();
    bool isValid() const;

    /// How many times faster than the wall clock tickers run that are started from now on; 1 by default.
    static void setRate(double rate);

Q_SIGNALS:
    void fired();

private:
    QTimer m_timer;
    std::chrono::milliseconds m_interval;
};

} // namespace kelpay
