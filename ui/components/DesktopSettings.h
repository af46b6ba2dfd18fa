#pragma once

#include <QObject>

namespace kelpay {

/// How a person wants screens drawn.
struct Look
{
    bool isDark = false;
    bool isMotionReduced = false;
    qreal textScale = 1; ///< times the usual size, 0.8 to 2

    bool operator==(const Look &) const = default;
};

/// What the desktop says of it, now and whenever it changes. Never waits, and never starts a service. Where the desktop
/// can't be asked or does not answer, nothing is emitted. Main queue.
class DesktopSettings : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// Begins to look, once: on Linux for the settings portal, at DBUS_SESSION_BUS_ADDRESS or the bus in
    /// XDG_RUNTIME_DIR.
    void follow();

Q_SIGNALS:
    void answered(const kelpay::Look &look);
};

} // namespace kelpay
