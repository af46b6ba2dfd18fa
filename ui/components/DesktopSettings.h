#pragma once

#include <QDBusConnection>
#include <QObject>

#include <optional>

namespace kelpay {

/// How a person wants screens drawn.
struct Look
{
    bool isDark = false;
    bool isMotionReduced = false;
    qreal textScale = 1; ///< times the usual size, 0.8 to 2

    bool operator==(const Look &) const = default;
};

/// What the desktop's settings portal says of it, now and whenever it changes. Never waits: the bus is looked for in
/// the background, and the portal is asked without blocking. Never starts a bus. Where there is no bus, no portal or no
/// answer, nothing is emitted. Main queue.
class DesktopSettings : public QObject
{
    Q_OBJECT

public:
    explicit DesktopSettings(QObject *parent = nullptr);
    ~DesktopSettings() override;

    /// Begins to look, at DBUS_SESSION_BUS_ADDRESS or the bus in XDG_RUNTIME_DIR.
    void follow();

Q_SIGNALS:
    void answered(const kelpay::Look &look);

private Q_SLOTS:
    void ask();

private:
    void listen(const QDBusConnection &connection);

    std::optional<QDBusConnection> m_connection;
};

} // namespace kelpay
