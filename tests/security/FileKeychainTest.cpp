#include "security/keychain/FileKeychain.h"
#include "platform/SqliteStore.h"
#include "security/SecStatus.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

using Content = KeychainStore::Content;

class FileKeychainTest : public testing::Test
{
protected:
    KeychainItem item(const QString &account, std::string_view value) const
    {
        KeychainItem made;
        made.service = u"service"_s;
        made.account = account;
        made.value = Bytes(value);
        return made;
    }

    KeychainMatch match(const QString &account) const
    {
        return {KeychainItemClass::GenericPassword, u"service"_s, std::nullopt, account};
    }

    // Reads through a store of its own, as another process would.
    KeychainFound read(const QString &account) const
    {
        return FileKeychain(folder.path()).findOne(match(account), Content::Value);
    }

    // Past the keychain, as another program would.
    template <class Action> auto run(Action action) const
    {
        return SqliteStore(folder.filePath(u"keychain.sqlite"_s), SqliteStore::Durability::SurvivesPowerLoss, "")
            .run(action);
    }

    Bytes sealed(const QString &account) const
    {
        const auto value = run([&](SqliteDatabase &database) {
            auto statement = database.prepare("SELECT value FROM items WHERE account = ?1");
            statement.bind(1, account).step();
            return statement.bytes(0);
        });
        return value.value_or(Bytes());
    }

    void setSealed(const QString &account, const Bytes &value) const
    {
        EXPECT_TRUE(run([&](SqliteDatabase &database) {
            auto statement = database.prepare("UPDATE items SET value = ?2 WHERE account = ?1");
            return statement.bind(1, account).bind(2, value).run();
        }));
    }

    void expectDamagedThenRepaired(const char *what)
    {
        SCOPED_TRACE(what);
        EXPECT_EQ(read(u"a"_s).status, SecStatus::Decode);
        EXPECT_EQ(store.findOne(match(u"a"_s), Content::Attributes).status, SecStatus::Success);
        EXPECT_EQ(store.update(match(u"a"_s), Bytes(std::string_view("again"))), SecStatus::Success);
        EXPECT_EQ(read(u"a"_s).items.at(0).value, Bytes(std::string_view("again")));
    }

    QTemporaryDir folder;
    FileKeychain store{folder.path()};
};

Bytes flipped(const Bytes &bytes, std::size_t at)
{
    std::string text(bytes.view());
    text[at] = static_cast<char>(text[at] ^ (1 << at % 8));
    return Bytes(text);
}

} // namespace

TEST_F(FileKeychainTest, KeepsValuesSealedInPrivateFiles)
{
    ::umask(0);
    ASSERT_EQ(store.add({item(u"a"_s, "a secret that shows")}), SecStatus::Success);
    EXPECT_EQ(read(u"a"_s).items.at(0).value, Bytes(std::string_view("a secret that shows")));
    const auto names = QDir(folder.path()).entryList(QDir::Files);
    EXPECT_GE(names.size(), 2);
    for (const QString &name : names) {
        struct stat info
        {
        };
        EXPECT_EQ(::stat(QFile::encodeName(folder.filePath(name)).constData(), &info), 0);
        EXPECT_EQ(info.st_mode & 0777U, 0600U) << name.toStdString();
        QFile file(folder.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        EXPECT_FALSE(file.readAll().contains("secret that")) << name.toStdString();
    }
}

TEST_F(FileKeychainTest, AValueThatIsThereIsNotWrittenAgain)
{
    ASSERT_EQ(store.add({item(u"a"_s, "one")}), SecStatus::Success);
    const Bytes written = sealed(u"a"_s);
    EXPECT_EQ(store.update(match(u"a"_s), Bytes(std::string_view("one"))), SecStatus::Success);
    EXPECT_EQ(sealed(u"a"_s), written);
    EXPECT_EQ(store.update(match(u"a"_s), Bytes(std::string_view("two"))), SecStatus::Success);
    EXPECT_EQ(read(u"a"_s).items.at(0).value, Bytes(std::string_view("two")));
}

TEST_F(FileKeychainTest, DamagedValuesAreNoticedAndCanBeOverwritten)
{
    ASSERT_EQ(store.add({item(u"a"_s, "value"), item(u"b"_s, "other")}), SecStatus::Success);
    const std::size_t size = sealed(u"a"_s).size();
    for (std::size_t at = 0; at < size; ++at) {
        setSealed(u"a"_s, flipped(sealed(u"a"_s), at));
        expectDamagedThenRepaired("flipped");
        setSealed(u"a"_s, Bytes(sealed(u"a"_s).data(), at));
        expectDamagedThenRepaired("cut");
    }
    setSealed(u"a"_s, sealed(u"b"_s));
    expectDamagedThenRepaired("another item's value");
    EXPECT_EQ(read(u"b"_s).items.at(0).value, Bytes(std::string_view("other")));
}

TEST_F(FileKeychainTest, LostOrDamagedMasterKeyIsMadeAnew)
{
    const QString path = folder.filePath(u"keychain.key"_s);
    ASSERT_EQ(store.add({item(u"a"_s, "value")}), SecStatus::Success);
    ASSERT_TRUE(QFile::resize(path, 31));
    expectDamagedThenRepaired("cut");
    ASSERT_TRUE(QFile::remove(path));
    expectDamagedThenRepaired("removed");
    QFile key(path);
    ASSERT_TRUE(key.open(QIODevice::ReadWrite));
    ASSERT_TRUE(key.putChar('\x55'));
    key.close();
    expectDamagedThenRepaired("flipped");
    EXPECT_EQ(QFile(path).size(), 32);
}

TEST_F(FileKeychainTest, ManyStartingAtOnceAgreeOnTheKey)
{
    constexpr int count = 8;
    std::vector<std::thread> threads;
    threads.reserve(count);
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([this, i] {
            FileKeychain own(folder.path());
            EXPECT_EQ(own.add({item(QString::number(i), "value")}), SecStatus::Success);
        });
    }
    for (auto &thread : threads)
        thread.join();
    for (int i = 0; i < count; ++i)
        EXPECT_EQ(read(QString::number(i)).status, SecStatus::Success) << i;
    const auto all = store.findAll({KeychainItemClass::GenericPassword, u"service"_s, {}, {}});
    EXPECT_EQ(all.items.size(), static_cast<std::size_t>(count));
}

TEST_F(FileKeychainTest, PlaceThatCantBeHadIsNotAvailable)
{
    FileKeychain nowhere(folder.filePath(u"missing/folder"_s));
    EXPECT_EQ(nowhere.add({item(u"a"_s, "x")}), SecStatus::NotAvailable);
    EXPECT_EQ(nowhere.findOne(match(u"a"_s), Content::Value).status, SecStatus::NotAvailable);
    EXPECT_EQ(nowhere.findAll(match(u"a"_s)).status, SecStatus::NotAvailable);
    EXPECT_EQ(nowhere.update(match(u"a"_s), Bytes()), SecStatus::NotAvailable);
    EXPECT_EQ(nowhere.remove(match(u"a"_s)), SecStatus::NotAvailable);
    // A key that can't be read is never replaced.
    ASSERT_TRUE(QDir(folder.path()).mkdir(u"keychain.key"_s));
    EXPECT_EQ(store.add({item(u"a"_s, "x")}), SecStatus::NotAvailable);
    QDir(folder.path()).rmdir(u"keychain.key"_s);
    EXPECT_EQ(store.add({item(u"a"_s, "x")}), SecStatus::Success);
    // Nor is one used that others may read, or that lies elsewhere.
    const QString key = folder.filePath(u"keychain.key"_s);
    ASSERT_EQ(::chmod(QFile::encodeName(key).constData(), 0640), 0);
    EXPECT_EQ(read(u"a"_s).status, SecStatus::NotAvailable);
    ASSERT_EQ(::chmod(QFile::encodeName(key).constData(), 0600), 0);
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(QFile::encodeName(key).constData(), 65534, 65534), 0);
        EXPECT_EQ(read(u"a"_s).status, SecStatus::NotAvailable);
        ASSERT_EQ(::chown(QFile::encodeName(key).constData(), 0, 0), 0);
    }
    ASSERT_TRUE(QFile::rename(key, folder.filePath(u"moved"_s)) && QFile::link(folder.filePath(u"moved"_s), key));
    EXPECT_EQ(store.update(match(u"a"_s), Bytes()), SecStatus::NotAvailable);
}

} // namespace kelpay
