#include "device/IntegrityCheck.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QStringList>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

bool found(const char *finding)
{
    return IntegrityCheck::verdict().split(u',').contains(QLatin1StringView(finding));
}

/// Runs `prepare` and then the check in a child process; whether the finding is there.
template <class Prepare> bool foundInChild(const char *finding, Prepare prepare)
{
    const pid_t child = ::fork();
    if (child == 0) {
        prepare();
        ::_exit(found(finding) ? 42 : 43);
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && (WEXITSTATUS(status) == 42 || WEXITSTATUS(status) == 43)) << finding;
    return WEXITSTATUS(status) == 42;
}

TEST(IntegrityCheck, SeesWhoMayTrace)
{
    QFile scope(u"/proc/sys/kernel/yama/ptrace_scope"_s);
    const bool isRestricted = scope.open(QIODevice::ReadOnly) && scope.readAll().trimmed() != "0";
    EXPECT_EQ(foundInChild("traceable", [] { ::prctl(PR_SET_DUMPABLE, 1); }), !isRestricted);
    EXPECT_FALSE(foundInChild("traceable", [] { ::prctl(PR_SET_DUMPABLE, 0); }));
}

TEST(IntegrityCheck, SeesWhatLeadsToOtherCode)
{
    EXPECT_FALSE(found("preload"));
    for (const char *name : {"LD_PRELOAD", "LD_LIBRARY_PATH", "OPENSSL_MODULES", "OPENSSL_CONF", "QT_PLUGIN_PATH",
                             "QML2_IMPORT_PATH", "QML_IMPORT_PATH"}) {
        EXPECT_TRUE(foundInChild("preload", [name] { qputenv(name, "/elsewhere"); })) << name;
        EXPECT_FALSE(foundInChild("preload", [name] { qputenv(name, ""); })) << name;
    }
}

TEST(IntegrityCheck, SeesRoot)
{
    EXPECT_EQ(found("root"), ::geteuid() == 0);
    if (::geteuid() == 0) {
        EXPECT_FALSE(foundInChild("root", [] { ::seteuid(65534); }));
    }
}

TEST(IntegrityCheck, KnowsAnEmulatedDevice)
{
    EXPECT_FALSE(IntegrityCheck::isSimulator()) << "a virtual or build machine is no emulated device";
    const struct
    {
        const char *board;
        bool isEmulator;
    } boards[] = {{"ranchu", true},
                  {"Hardware\t: Goldfish", true},
                  {"sdk_gphone64_arm64", true},
                  {"Standard PC (Q35 + ICH9, 2009) QEMU Virtual CPU", false},
                  {"VMware7,1", false},
                  {"linux,dummy-virt", false},
                  {"", false}};
    for (const auto &[board, isEmulator] : boards)
        EXPECT_EQ(IntegrityCheck::isEmulatorBoard(board), isEmulator) << board;

    IntegrityCheck::overrideSimulator(true);
    EXPECT_TRUE(IntegrityCheck::isSimulator());
    EXPECT_TRUE(found("emulator"));
    IntegrityCheck::overrideSimulator(std::nullopt);
    EXPECT_FALSE(found("emulator"));
}

} // namespace
} // namespace kelpay
