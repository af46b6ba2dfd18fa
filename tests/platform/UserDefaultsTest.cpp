#include "platform/UserDefaults.h"

#include "platform/SqliteStore.h"
#include "platform/StateFolder.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <algorithm>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

const QString key = u"key"_s;

class UserDefaultsTest : public ::testing::Test
{
protected:
    QString path() const { return m_folder.filePath(u"defaults.sqlite"_s); }

    // As another process would.
    static bool execute(SqliteStore &store, std::initializer_list<const char *> statements)
    {
        const auto all = [&](SqliteDatabase &database) {
            return std::all_of(statements.begin(), statements.end(),
                               [&](const char *sql) { return database.prepare(sql).run(); });
        };
        return store.run(all).value_or(false);
    }
    bool execute(std::initializer_list<const char *> statements) const
    {
        SqliteStore other(path(), SqliteStore::Durability::SurvivesKill, "");
        return execute(other, statements);
    }
    void fillWith(char byte) const
    {
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(QByteArray(8192, byte));
    }

    QTemporaryDir m_folder;
};

TEST_F(UserDefaultsTest, TypedValuesOutliveTheObject)
{
    for (const QString &where : {path(), QString()}) {
        auto defaults = std::make_unique<UserDefaults>(where);
        EXPECT_FALSE(defaults->string(key));
        defaults->setString(key, u"12 سفارش"_s);
        defaults->setInteger(u"n"_s, -5);
        defaults->setData(u"d"_s, Bytes(std::string_view("\0\1\2", 3)));
        defaults->setString(u"gone"_s, u"x"_s);
        defaults->remove(u"gone"_s);
        if (!where.isEmpty())
            defaults = std::make_unique<UserDefaults>(where);
        EXPECT_EQ(defaults->string(key), u"12 سفارش"_s);
        EXPECT_EQ(defaults->integer(key), 12);
        EXPECT_EQ(defaults->integer(u"n"_s), -5);
        EXPECT_EQ(defaults->string(u"n"_s), u"-5"_s);
        EXPECT_EQ(defaults->data(u"d"_s)->size(), 3u);
        EXPECT_FALSE(defaults->string(u"d"_s));
        EXPECT_FALSE(defaults->data(key));
        EXPECT_FALSE(defaults->string(u"gone"_s));
    }
}

TEST_F(UserDefaultsTest, WhatCannotBeWrittenStaysInMemory)
{
    UserDefaults nowhere(u"/proc/no-such-folder/defaults.sqlite"_s);
    nowhere.setString(key, u"7"_s);
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
        SqliteStore holder(path(), SqliteStore::Durability::SurvivesKill, "");
        ASSERT_TRUE(execute(holder, {"BEGIN IMMEDIATE"}));
        if (isSet)
            here.setInteger(key, 3);
        const qint64 inMemory = isSet ? 4 : 11;
        EXPECT_EQ(here.increment(key), inMemory);
        EXPECT_EQ(here.increment(key), inMemory + 1);
        ASSERT_TRUE(execute(holder, {"ROLLBACK"}));
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
    fillWith('x');
    {
        UserDefaults defaults(path());
        EXPECT_FALSE(defaults.string(key));
        defaults.setString(key, u"v"_s);
    }
    EXPECT_EQ(UserDefaults(path()).string(key), u"v"_s);
    ASSERT_TRUE(execute({"DROP TABLE defaults", "CREATE TABLE defaults(other)"}));
    testing::internal::CaptureStderr();
    UserDefaults(path()).setString(key, u"w"_s);
    const QString log = QString::fromStdString(testing::internal::GetCapturedStderr());
    EXPECT_EQ(log.count(u"can't be"_s), 1) << log.toStdString();
    EXPECT_EQ(UserDefaults(path()).string(key), u"w"_s) << "a file with other tables";
}

TEST_F(UserDefaultsTest, KeysAndTextsStayAsTheyAre)
{
    const QStringList texts{u"a"_s, QString::fromUtf8("a\0b", 3), QString::fromUtf8("a\0c", 3), u"\uFEFFa"_s,
                            u"\uFEFF"_s};
    for (const QString &text : texts)
        UserDefaults(path()).setString(text, text);
    for (const QString &text : texts)
        EXPECT_EQ(UserDefaults(path()).string(text), text) << text.toStdString();
}

TEST_F(UserDefaultsTest, WhatIsNotTheUsersOwnIsLeftAlone)
{
    const QString elsewhere = m_folder.filePath(u"elsewhere"_s);
    struct Case
    {
        const char *what;
        const char *linked; // null for a file that is given away
    };
    for (const auto &[what, linked] :
         {Case{"a link", ""}, Case{"a link for the log", "-wal"}, Case{"another user's", nullptr}}) {
        QFile::remove(path());
        QFile::remove(path() + u"-wal"_s);
        UserDefaults(elsewhere).setString(key, u"theirs"_s);
        if (linked) {
            ASSERT_TRUE(QFile::link(elsewhere, path() + QLatin1StringView(linked)));
        } else {
            UserDefaults(path()).setString(key, u"theirs"_s);
            if (::chown(QFile::encodeName(path()).constData(), 1, 1) != 0)
                GTEST_SKIP() << "this process may not give files away";
        }
        testing::internal::CaptureStderr();
        UserDefaults defaults(path());
        EXPECT_FALSE(defaults.string(key)) << what;
        defaults.setString(key, u"ours"_s);
        EXPECT_EQ(defaults.string(key), u"ours"_s) << what;
        EXPECT_NE(testing::internal::GetCapturedStderr().find("is not this user's own"), std::string::npos) << what;
        EXPECT_EQ(UserDefaults(elsewhere).string(key), u"theirs"_s) << what;
    }
}

TEST_F(UserDefaultsTest, AForeignStateFolderIsNotUsed)
{
    const QByteArray before = qgetenv("XDG_DATA_HOME");
    qputenv("XDG_DATA_HOME", QFile::encodeName(m_folder.path()));
    const auto folder = stateFolder();
    ASSERT_TRUE(folder);
    const QString moved = m_folder.filePath(u"moved"_s);
    ASSERT_TRUE(QDir().rename(*folder, moved));
    ASSERT_TRUE(QFile::link(moved, *folder));
    EXPECT_FALSE(stateFolder()) << "a link";
    ASSERT_TRUE(QFile::remove(*folder) && QDir().rename(moved, *folder));
    if (::chown(QFile::encodeName(*folder).constData(), 1, 1) == 0) {
        EXPECT_FALSE(stateFolder()) << "another user's";
    }
    qputenv("XDG_DATA_HOME", before);
}

TEST_F(UserDefaultsTest, TwoDamagedCopiesStay)
{
    for (const char byte : {'1', '2', '3', '4'}) {
        fillWith(byte);
        UserDefaults(path()).setString(key, u"v"_s);
    }
    QString kept;
    for (const QString &name : QDir(m_folder.path()).entryList({u"*.damaged-*[0-9]"_s}, QDir::Files)) {
        QFile copy(m_folder.filePath(name));
        ASSERT_TRUE(copy.open(QIODevice::ReadOnly));
        kept += QChar::fromLatin1(copy.read(1).at(0));
    }
    EXPECT_EQ(kept, u"34"_s);
}

// A repair was killed after it moved the log of changes aside and before it put the new file in place.
TEST_F(UserDefaultsTest, AnInterruptedRepairLosesNothing)
{
    const QString log = path() + u"-wal"_s;
    const QString aside = path() + u".damaged-1700000000000"_s;
    for (const bool isIndexAside : {false, true}) {
        UserDefaults writer(path()); // while it is open, the log holds what it wrote
        writer.setString(key, u"in the log"_s);
        for (const char *suffix : {"", "-wal", "-shm"}) {
            const QByteArray from = QFile::encodeName(path() + QLatin1StringView(suffix));
            const QByteArray to = QFile::encodeName(aside + QLatin1StringView(suffix));
            ASSERT_EQ(::link(from.constData(), to.constData()), 0);
            ASSERT_TRUE(*suffix == '\0' || ::unlink(from.constData()) == 0);
        }
        if (!isIndexAside)
            QFile::remove(aside + u"-shm"_s);
        EXPECT_EQ(UserDefaults(path()).string(key), u"in the log"_s);
        EXPECT_FALSE(QFile::exists(aside));
    }
}

// Newer versions of SQLite answer a read over the end of a cut file with an error; here a layer over the files does.
TEST_F(UserDefaultsTest, AFileThatLostItsEndIsRepairedWhereReadingItFails)
{
    static bool isStrict = false;
    static sqlite3_io_methods methods{};
    static sqlite3_io_methods real{};
    static sqlite3_vfs *const system = sqlite3_vfs_find(nullptr);
    sqlite3_vfs layer = *system;
    layer.zName = "layer";
    layer.xOpen = [](sqlite3_vfs *, const char *name, sqlite3_file *file, int flags, int *outFlags) {
        const int code = system->xOpen(system, name, file, flags, outFlags);
        if (code == SQLITE_OK && (flags & SQLITE_OPEN_MAIN_DB) != 0) {
            real = methods = *file->pMethods;
            methods.xRead = [](sqlite3_file *from, void *to, int size, sqlite3_int64 at) {
                const int read = real.xRead(from, to, size, at);
                return isStrict && at >= 512 && read == SQLITE_IOERR_SHORT_READ ? SQLITE_IOERR_READ : read;
            };
            file->pMethods = &methods;
        }
        return code;
    };
    UserDefaults(path()).setString(key, u"kept"_s);
    UserDefaults(path()).setData(u"long"_s, Bytes(std::string(30'000, 'v')));
    ASSERT_TRUE(QFile::resize(path(), QFileInfo(path()).size() - 1));
    sqlite3_vfs_register(&layer, 1);
    {
        const UserDefaults defaults(path());
        EXPECT_EQ(defaults.string(key), u"kept"_s);
        UserDefaults(path()).setInteger(u"other"_s, 1); // the first forgets what it has read
        isStrict = true;
        EXPECT_FALSE(defaults.data(u"long"_s));
        isStrict = false;
    }
    sqlite3_vfs_unregister(&layer);
    EXPECT_EQ(QDir(m_folder.path()).entryList({u"*.damaged-*[0-9]"_s}).size(), 1);
    EXPECT_EQ(UserDefaults(path()).string(key), u"kept"_s);
}

} // namespace
} // namespace kelpay
