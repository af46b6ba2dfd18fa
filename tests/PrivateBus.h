#pragma once

#include <gtest/gtest.h>

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <csignal>
#include <sys/prctl.h>

namespace kelpay {

using namespace Qt::StringLiterals;

/// A dbus-daemon of our own, gone with the test whatever becomes of it.
class PrivateBus
{
public:
    /// `type` as D-Bus has it: "system" or "session".
    explicit PrivateBus(const char *type)
    {
        QFile config(m_folder.filePath(u"bus.conf"_s));
        EXPECT_TRUE(config.open(QIODevice::WriteOnly));
        config.write("<busconfig><type>" + QByteArray(type) + "</type><listen>" + address().toUtf8() +
                     "</listen><auth>EXTERNAL</auth><policy context='default'><allow user='*'/><allow own='*'/>"
                     "<allow send_destination='*'/><allow receive_sender='*'/></policy></busconfig>");
        config.close();
        m_daemon.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
        m_daemon.start(u"dbus-daemon"_s, {u"--config-file="_s + config.fileName(), u"--nofork"_s, u"--nopidfile"_s,
                                          u"--nosyslog"_s, u"--print-address"_s});
        m_isRunning = m_daemon.waitForReadyRead(5'000);
    }
    ~PrivateBus() { stop(); }
    Q_DISABLE_COPY_MOVE(PrivateBus)

    bool isRunning() const { return m_isRunning; }
    QString address() const { return u"unix:path="_s + m_folder.filePath(u"bus"_s); }
    void stop()
    {
        m_daemon.kill();
        m_daemon.waitForFinished(2'000);
    }

private:
    QTemporaryDir m_folder;
    QProcess m_daemon;
    bool m_isRunning = false;
};

} // namespace kelpay
