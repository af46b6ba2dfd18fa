#include "security/SecStatus.h"
#include "security/keychain/FileKeychain.h"
#include "security/keychain/SecretServiceKeychain.h"
#include "tests/security/SecretSession.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QTemporaryDir>

#include <atomic>
#include <functional>
#include <thread>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

using Content = KeychainStore::Content;
using Class = KeychainItemClass;

KeychainItem item(const QString &account, std::optional<Bytes> value, const QString &group = u""_s,
                  const QString &label = u""_s, Class itemClass = Class::GenericPassword)
{
    return {itemClass, u"service"_s, group, account, label, {}, std::move(value)};
}

KeychainMatch match(const std::optional<QString> &account, const std::optional<QString> &group = {})
{
    return {Class::GenericPassword, u"service"_s, group, account};
}

Bytes bytes(std::string_view text)
{
    return Bytes(text);
}

QStringList accounts(const KeychainFound &found)
{
    QStringList names;
    for (const auto &each : found.items)
        names.append(each.account);
    return names;
}

// How long the slowest call took, in milliseconds; all must give `status`.
qint64 expectEveryCallToGive(int status)
{
    SecretServiceKeychain store;
    const std::vector<std::function<int()>> calls{
        [&] { return store.add({item(u"a"_s, bytes("x"))}); },
        [&] { return store.update(match(u"a"_s), bytes("x")); },
        [&] { return store.remove(match(u"a"_s)); },
        [&] { return store.findOne(match(u"a"_s), Content::Value).status; },
        [&] { return store.findOne(match(u"a"_s), Content::Attributes).status; },
        [&] { return store.findAll(match({})).status; },
    };
    qint64 longest = 0;
    for (const auto &call : calls) {
        QElapsedTimer clock;
        clock.start();
        EXPECT_EQ(call(), status);
        longest = std::max(longest, clock.elapsed());
    }
    return longest;
}

} // namespace

// What the port promises, held against both back ends.
class KeychainContract : public testing::TestWithParam<const char *>
{
protected:
    void SetUp() override
    {
        if (GetParam() == std::string_view("file")) {
            store = std::make_unique<FileKeychain>(folder.path());
            return;
        }
        if (!SecretSession::canRunDaemon())
            GTEST_SKIP() << "gnome-keyring-daemon or dbus-daemon is not installed";
        session = std::make_unique<SecretSession>();
        ASSERT_TRUE(session->startDaemon());
        store = std::make_unique<SecretServiceKeychain>();
    }

    std::optional<Bytes> value(const QString &account, const QString &group = u""_s)
    {
        const auto found = store->findOne(match(account, group), Content::Value);
        EXPECT_EQ(found.status, SecStatus::Success) << account.toStdString();
        return found.items.empty() ? std::nullopt : found.items.front().value;
    }

    QTemporaryDir folder;
    std::unique_ptr<SecretSession> session;
    std::unique_ptr<KeychainStore> store;
};

TEST_P(KeychainContract, ValuesComeBackAsTheyWere)
{
    std::string every;
    for (int i = 0; i < 256; ++i)
        every.push_back(static_cast<char>(i));
    const std::vector<std::pair<QString, std::optional<Bytes>>> cases{
        {u"none"_s, std::nullopt},
        {u"empty"_s, Bytes()},
        {u"zeroes"_s, Bytes(std::string_view("\0\0", 2))},
        {u"every byte"_s, bytes(every)},
        {u"large"_s, bytes(std::string(100000, '\xff'))},
        {u"سلام %s"_s, Bytes::fromText(u"سلام"_s)},
        {u""_s, bytes("no account")},
    };
    for (const auto &[account, stored] : cases)
        ASSERT_EQ(store->add({item(account, stored)}), SecStatus::Success) << account.toStdString();
    for (const auto &[account, stored] : cases)
        EXPECT_EQ(value(account), stored) << account.toStdString();

    // Another value in the same place, also where there was none.
    for (const auto &account : {u"none"_s, u"large"_s}) {
        EXPECT_EQ(store->update(match(account), bytes("new")), SecStatus::Success);
        EXPECT_EQ(value(account), bytes("new"));
    }
    const auto all = store->findAll(match({}));
    EXPECT_EQ(all.items.size(), cases.size());
    for (const auto &each : all.items)
        EXPECT_FALSE(each.value) << "never with values";
}

TEST_P(KeychainContract, ItemsAreToldApartAndKeepTheirOrder)
{
    auto kept = item(u"z"_s, bytes("1"));
    kept.attributes = {{u"pdmn"_s, u"ck"_s}, {u"flag"_s, true}};
    ASSERT_EQ(store->add({kept}), SecStatus::Success);
    ASSERT_EQ(store->add({item(u"a"_s, bytes("2"))}), SecStatus::Success);
    ASSERT_EQ(store->add({item(u"z"_s, bytes("3"), u"group"_s)}), SecStatus::Success);
    auto other = item(u"z"_s, bytes("4"));
    other.service = u"other"_s;
    const auto key = [](const QString &label, std::string_view value) {
        return item(u"z"_s, bytes(value), u""_s, label, Class::Key);
    };
    ASSERT_EQ(store->add({other, key(u"private"_s, "5"), key(u"public"_s, "6")}), SecStatus::Success);

    EXPECT_EQ(accounts(store->findAll(match({}))), (QStringList{u"z"_s, u"a"_s, u"z"_s}));
    EXPECT_EQ(accounts(store->findAll(match({}, u"group"_s))), QStringList{u"z"_s});
    EXPECT_EQ(accounts(store->findAll({Class::Key, {}, {}, {}})), (QStringList{u"z"_s, u"z"_s}));
    const auto first = store->findOne(match(u"z"_s), Content::Value);
    ASSERT_EQ(first.status, SecStatus::Success);
    EXPECT_EQ(first.items[0].value, bytes("1"));
    EXPECT_EQ(first.items[0].attributes, kept.attributes);
    EXPECT_EQ(store->findOne({Class::Key, {}, {}, u"z"_s}, Content::Value).items.at(0).value, bytes("5"));

    EXPECT_EQ(store->remove({Class::Key, {}, {}, u"z"_s}), SecStatus::Success);
    EXPECT_EQ(store->findAll({Class::Key, {}, {}, {}}).status, SecStatus::ItemNotFound);
    EXPECT_EQ(store->update(match(u"z"_s), bytes("both")), SecStatus::Success);
    EXPECT_EQ(value(u"z"_s, u"group"_s), bytes("both"));
    EXPECT_EQ(store->remove(match(u"z"_s, u""_s)), SecStatus::Success);
    EXPECT_EQ(accounts(store->findAll(match({}))), (QStringList{u"a"_s, u"z"_s}));
    EXPECT_EQ(store->findOne({Class::GenericPassword, u"other"_s, {}, {}}, Content::Value).items.at(0).value,
              bytes("4"));
}

TEST_P(KeychainContract, AddsAllOrNoneAndSaysWhatIsMissing)
{
    ASSERT_EQ(store->add({item(u"a"_s, bytes("first"))}), SecStatus::Success);
    EXPECT_EQ(store->add({item(u"b"_s, bytes("x")), item(u"a"_s, bytes("second"))}), SecStatus::DuplicateItem);
    EXPECT_EQ(store->findOne(match(u"b"_s), Content::Attributes).status, SecStatus::ItemNotFound);
    EXPECT_EQ(value(u"a"_s), bytes("first"));
    EXPECT_EQ(store->update(match(u"b"_s), bytes("x")), SecStatus::ItemNotFound);
    EXPECT_EQ(store->remove(match(u"b"_s)), SecStatus::ItemNotFound);
    EXPECT_EQ(store->findAll({Class::GenericPassword, u"none"_s, {}, {}}).status, SecStatus::ItemNotFound);
}

TEST_P(KeychainContract, ThreadsThatAddTheSameItemMakeOne)
{
    constexpr int count = 6;
    std::atomic<int> added = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&, i] {
            const int status = store->add({item(u"same"_s, bytes("x"))});
            EXPECT_TRUE(status == SecStatus::Success || status == SecStatus::DuplicateItem) << status;
            added += status == SecStatus::Success;
            EXPECT_EQ(store->add({item(QString::number(i), bytes("own"))}), SecStatus::Success);
            EXPECT_EQ(store->findOne(match(QString::number(i)), Content::Value).status, SecStatus::Success);
        });
    }
    for (auto &thread : threads)
        thread.join();
    EXPECT_EQ(added, 1);
    EXPECT_EQ(store->findAll(match({})).items.size(), static_cast<std::size_t>(count + 1));
}

INSTANTIATE_TEST_SUITE_P(Keychain, KeychainContract, testing::Values("file", "secretService"),
                         [](const auto &backEnd) { return std::string(backEnd.param); });

class SecretServiceTest : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!SecretSession::canRunDaemon())
            GTEST_SKIP() << "gnome-keyring-daemon or dbus-daemon is not installed";
        session = std::make_unique<SecretSession>();
    }
    std::unique_ptr<SecretSession> session;
    SecretServiceKeychain store;
};

TEST_F(SecretServiceTest, ValuesOutliveTheDaemonAndAreNotInItsFilesInClear)
{
    ASSERT_TRUE(session->startDaemon());
    ASSERT_EQ(store.add({item(u"a"_s, bytes(std::string_view("clear\0\xff text", 12))), item(u"b"_s, std::nullopt)}),
              SecStatus::Success);
    session->stopDaemon();
    EXPECT_FALSE(session->filesHold("clear"));
    ASSERT_TRUE(session->startDaemon());
    EXPECT_EQ(store.findOne(match(u"a"_s), Content::Value).items.at(0).value,
              bytes(std::string_view("clear\0\xff text", 12)));
    EXPECT_EQ(store.findOne(match(u"b"_s), Content::Value).items.at(0).value, std::nullopt);
}

TEST_F(SecretServiceTest, DamagedAndMovedValuesAreNoticedAndCanBeOverwritten)
{
    ASSERT_TRUE(session->startDaemon());
    ASSERT_EQ(store.add({item(u"a"_s, bytes("value")), item(u"b"_s, bytes("other"))}), SecStatus::Success);
    const QByteArray whole = session->secretOf("a");
    ASSERT_FALSE(whole.isEmpty());
    QByteArray flipped = whole;
    flipped[5] = flipped[5] == 'A' ? 'B' : 'A';
    for (const QByteArray &damaged : {QByteArray(), flipped, whole.left(whole.size() - 4), whole.left(40),
                                      QByteArray("not base64!"), session->secretOf("b")}) {
        ASSERT_TRUE(session->setSecretOf("a", damaged));
        EXPECT_EQ(store.findOne(match(u"a"_s), Content::Value).status, SecStatus::Decode) << damaged.size();
        EXPECT_EQ(store.findOne(match(u"a"_s), Content::Attributes).status, SecStatus::Success);
        EXPECT_EQ(store.update(match(u"a"_s), bytes("again")), SecStatus::Success);
        EXPECT_EQ(store.findOne(match(u"a"_s), Content::Value).items.at(0).value, bytes("again"));
    }
}

TEST_F(SecretServiceTest, WhereNothingAnswersItIsNotAvailable)
{
    session->stopBus();
    EXPECT_LT(expectEveryCallToGive(SecStatus::NotAvailable), 1000) << "no bus";
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    qunsetenv("XDG_RUNTIME_DIR");
    EXPECT_LT(expectEveryCallToGive(SecStatus::NotAvailable), 1000) << "no bus known";
    ASSERT_TRUE(session->startBus());
    EXPECT_LT(expectEveryCallToGive(SecStatus::NotAvailable), 1000) << "no daemon";
    ASSERT_TRUE(session->startDaemon());
    EXPECT_EQ(store.findAll(match({})).status, SecStatus::ItemNotFound) << "and nothing was kept elsewhere";
    session->stopDaemon();
    EXPECT_LT(expectEveryCallToGive(SecStatus::NotAvailable), 1000) << "a daemon that went";
}

TEST_F(SecretServiceTest, MuteDaemonIsGivenUpAfterTwoSeconds)
{
    ASSERT_TRUE(session->startDaemon());
    session->freezeDaemon();
    testing::internal::CaptureStderr();
    const qint64 longest = expectEveryCallToGive(SecStatus::NotAvailable);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_GE(longest, 1900);
    EXPECT_LT(longest, 2500);
    EXPECT_NE(log.find("did not answer"), std::string::npos) << log;
    session->thawDaemon();
    EXPECT_EQ(store.add({item(u"b"_s, bytes("x"))}), SecStatus::Success) << "and works again when it does";
}

TEST_F(SecretServiceTest, LockedKeyringIsSaidAndNeverPromptedFor)
{
    ASSERT_TRUE(session->startDaemon());
    ASSERT_EQ(store.add({item(u"a"_s, bytes("x"))}), SecStatus::Success);
    ASSERT_TRUE(session->lock());
    EXPECT_LT(expectEveryCallToGive(SecStatus::InteractionNotAllowed), 1000);
    session->stopDaemon();
    ASSERT_TRUE(session->startDaemon());
    EXPECT_EQ(store.findOne(match(u"a"_s), Content::Value).items.at(0).value, bytes("x")) << "nothing was changed";
}

} // namespace kelpay
