#include "platform/UserDefaults.h"

#include "platform/Sqlite.h"
#include "platform/StateFolder.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kelpay {
namespace {

const QString key = QStringLiteral("key");

class UserDefaultsTest : public ::testing::Test
{
protected:
    QString path() const { return m_folder.filePath(QStringLiteral("defaults.sqlite")); }

    QTemporaryDir m_folder;
};

TEST_F(UserDefaultsTest, TypedValuesOutliveTheObject)
{
    for (const QString &where : {path(), QString()}) {
        auto defaults = std::make_unique<UserDefaults>(where);
        EXPECT_FALSE(defaults->string(key));
        defaults->setString(key, QStringLiteral("12 سفارش"));
        defaults->setInteger(QStringLiteral("n"), -5);
        defaults->setData(QStringLiteral("d"), Bytes(std::string_view("\0\1\2", 3)));
        defaults->setString(QStringLiteral("gone"), QStringLiteral("x"));
        defaults->remove(QStringLiteral("gone"));
        if (!where.isEmpty())
            defaults = std::make_unique<UserDefaults>(where);
        EXPECT_EQ(defaults->string(key), QStringLiteral("12 سفارش"));
        EXPECT_EQ(defaults->integer(key), 12);
        EXPECT_EQ(defaults->integer(QStringLiteral("n")), -5);
        EXPECT_EQ(defaults->string(QStringLiteral("n")), QStringLiteral("-5"));
        EXPECT_EQ(defaults->data(QStringLiteral("d"))->size(), 3u);
        EXPECT_FALSE(defaults->string(QStringLiteral("d")));
        EXPECT_FALSE(defaults->data(key));
        EXPECT_FALSE(defaults->string(QStringLiteral("gone")));
    }
}

TEST_F(UserDefaultsTest, FilesArePrivateWhateverTheUmask)
{
    const mode_t before = ::umask(0);
    UserDefaults defaults(path());
    defaults.setInteger(key, 1);
    ::umask(before);
    for (const char *suffix : {"", "-wal", "-shm"}) {
        struct stat info
        {
        };
        ASSERT_EQ(::stat(QFile::encodeName(path() + QLatin1StringView(suffix)).constData(), &info), 0) << suffix;
        EXPECT_EQ(info.st_mode & 0777, 0600u) << suffix;
    }
}

TEST_F(UserDefaultsTest, NoIncrementOfTwoProcessesIsLost)
{
    constexpr int rounds = 300;
    {
        UserDefaults(path()).setString(key, QStringLiteral("100 and text"));
    }
    const auto count = [this] {
        UserDefaults defaults(path());
        for (int round = 0; round < rounds; ++round)
            defaults.increment(key);
    };
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        count();
        ::_exit(0);
    }
    count();
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(UserDefaults(path()).integer(key), 100 + 2 * rounds);
}

TEST_F(UserDefaultsTest, WhatCannotBeWrittenStaysInMemory)
{
    UserDefaults nowhere(QStringLiteral("/proc/no-such-folder/defaults.sqlite"));
    nowhere.setString(key, QStringLiteral("7"));
    EXPECT_EQ(nowhere.integer(key), 7);
    EXPECT_EQ(nowhere.increment(key), 8);
    nowhere.remove(key);
    EXPECT_FALSE(nowhere.string(key));
}

TEST_F(UserDefaultsTest, ANumberCountedInMemoryNeverLowersTheFiles)
{
    UserDefaults here(path());
    UserDefaults other(path());
    for (const bool isSet : {false, true}) {
        other.setInteger(key, 10);
        EXPECT_EQ(here.integer(key), 10);
        const auto holder = SqliteDatabase::open(path(), SqliteDatabase::Durability::SurvivesKill, "");
        ASSERT_TRUE(holder->execute("BEGIN IMMEDIATE"));
        if (isSet)
            here.setInteger(key, 3);
        const qint64 inMemory = isSet ? 4 : 11;
        EXPECT_EQ(here.increment(key), inMemory);
        EXPECT_EQ(here.increment(key), inMemory + 1);
        ASSERT_TRUE(holder->execute("ROLLBACK"));
        for (qint64 number = 11; number <= 15; ++number)
            EXPECT_EQ(other.increment(key), number);
        EXPECT_EQ(here.increment(key), isSet ? 6 : 16) << "what was set counts, other than what was counted";
        EXPECT_EQ(other.increment(key), isSet ? 7 : 17);
    }
}

TEST_F(UserDefaultsTest, TheStateFolderIsPrivateWhateverTheUmask)
{
    const QByteArray before = qgetenv("XDG_DATA_HOME");
    qputenv("XDG_DATA_HOME", QFile::encodeName(m_folder.path()));
    const mode_t mask = ::umask(0);
    for (const char *what : {"made", "found open to all"}) {
        const auto folder = stateFolder();
        ASSERT_TRUE(folder && folder->startsWith(m_folder.path())) << what;
        struct stat info
        {
        };
        ASSERT_EQ(::stat(QFile::encodeName(*folder).constData(), &info), 0);
        EXPECT_EQ(info.st_mode & 0777, 0700u) << what;
        ::chmod(QFile::encodeName(*folder).constData(), 0777);
    }
    ::umask(mask);
    qputenv("XDG_DATA_HOME", before);
}

TEST_F(UserDefaultsTest, ADamagedFileIsReplaced)
{
    QFile file(path());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(8192, 'x'));
    file.close();
    {
        UserDefaults defaults(path());
        EXPECT_FALSE(defaults.string(key));
        defaults.setString(key, QStringLiteral("v"));
    }
    EXPECT_EQ(UserDefaults(path()).string(key), QStringLiteral("v"));
    const auto other = SqliteDatabase::open(path(), SqliteDatabase::Durability::SurvivesKill, "");
    ASSERT_TRUE(other->execute("DROP TABLE defaults; CREATE TABLE defaults(other)"));
    testing::internal::CaptureStderr();
    UserDefaults(path()).setString(key, QStringLiteral("w"));
    const QString log = QString::fromStdString(testing::internal::GetCapturedStderr());
    EXPECT_EQ(log.count(QStringLiteral("can't be")), 1) << log.toStdString();
    EXPECT_EQ(UserDefaults(path()).string(key), QStringLiteral("w")) << "a file with other tables";
}

} // namespace
} // namespace kelpay
