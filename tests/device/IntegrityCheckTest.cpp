#include "device/IntegrityCheck.h"

#include <gtest/gtest.h>

#include <QStringList>

#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kelpay {
namespace {

bool found(const char *finding)
{
    return IntegrityCheck::verdict().split(QLatin1Char(',')).contains(QLatin1StringView(finding));
}

TEST(IntegrityCheck, SeesATracer)
{
    EXPECT_FALSE(found("debugger"));
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        ::_exit(found("debugger") ? 42 : 1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 42);
}

TEST(IntegrityCheck, SeesPreloadedLibraries)
{
    const bool before = qEnvironmentVariableIsSet("LD_PRELOAD");
    EXPECT_EQ(found("preload"), before);
    qputenv("LD_PRELOAD", "libfoo.so");
    EXPECT_TRUE(found("preload"));
    if (!before)
        qunsetenv("LD_PRELOAD");
}

TEST(IntegrityCheck, KnowsRootAndTheSimulator)
{
    EXPECT_EQ(found("root"), ::geteuid() == 0);
    EXPECT_FALSE(IntegrityCheck::isSimulator());
    IntegrityCheck::overrideSimulator(true);
    EXPECT_TRUE(IntegrityCheck::isSimulator());
    EXPECT_TRUE(found("emulator"));
    IntegrityCheck::overrideSimulator(std::nullopt);
    EXPECT_FALSE(found("emulator"));
}

} // namespace
} // namespace kelpay
