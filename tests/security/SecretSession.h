#pragma once

#include "tests/PrivateBus.h"

#include <QByteArray>
#include <QProcess>
#include <QTemporaryDir>

#include <memory>

namespace kelpay {

/// A desktop session of its own for a test: a private bus that starts no service, named in DBUS_SESSION_BUS_ADDRESS of
/// this process, and on it a real keyring daemon with an unlocked login collection. Its files live as long as this
/// does.
class SecretSession
{
public:
    static bool canRunDaemon();

    /// Starts the bus.
    SecretSession();
    ~SecretSession();
    SecretSession(const SecretSession &) = delete;
    SecretSession &operator=(const SecretSession &) = delete;

    bool startBus();
    void stopBus();
    bool startDaemon();
    void stopDaemon();
    /// Stopped, it keeps its name on the bus and answers nothing.
    void freezeDaemon();
    void thawDaemon();
    bool lock();

    /// The stored secret of the item with this account; empty where there is none.
    QByteArray secretOf(const char *account) const;
    bool setSecretOf(const char *account, const QByteArray &secret) const;
    /// Whether any file of the daemon holds these bytes.
    bool filesHold(const QByteArray &bytes) const;

private:
    QTemporaryDir m_folder;
    std::unique_ptr<PrivateBus> m_bus;
    std::unique_ptr<QProcess> m_daemon;
};

} // namespace kelpay
