#include "Exchanges.h"

#include "platform/Files.h"
#include "platform/StateFolder.h"

#include <QCoreApplication>
#include <QTemporaryDir>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

using Kind = PaymentEvent::Kind;

/// A payment's exchange with the ledger and the host's observer beside it.
class AttemptTest : public ExchangeTest
{
protected:
    AttemptTest()
    {
        settleAll();
        HostProfile::shared().setObserver([this](const PaymentEvent &event) { events.push_back(event); });
        begin();
    }
    ~AttemptTest() override
    {
        QCoreApplication::processEvents();
        HostProfile::shared().setObserver({});
    }

    void begin()
    {
        attempt.reset();
        attempt = Attempt::begin(u"order 17"_s);
        ASSERT_TRUE(attempt);
        attempt->setPurchase(u"1000"_s, u"T1"_s);
    }
    static void settleAll()
    {
        for (const UnsettledAttempt &listed : AttemptLedger::shared().unsettled())
            EXPECT_TRUE(AttemptLedger::shared().settle(listed.identifier));
    }
    void send()
    {
        attempt->submitted();
        departed = false;
        CoreNetworking::create(surroundings())->sendPaymentRequest(Bytes("x"), {});
    }
    std::vector<Kind> told()
    {
        QCoreApplication::processEvents();
        std::vector<Kind> kinds;
        for (const PaymentEvent &event : std::exchange(events, {}))
            kinds.push_back(event.kind);
        return kinds;
    }

    std::vector<PaymentEvent> events;
};

TEST_F(AttemptTest, NothingLeavesAfterItWasWithdrawn)
{
    const std::function<void()> withdraw = [this] { EXPECT_TRUE(attempt->withdraw()); };
    const std::function<void()> nothing = [] {};
    for (const char *when : {"before", "while facts are gathered", "before the bytes leave"}) {
        begin();
        if (when == std::string_view("before"))
            withdraw();
        facts->whileAsked = when == std::string_view("while facts are gathered") ? withdraw : nothing;
        beforeDeparture = when == std::string_view("before the bytes leave") ? withdraw : nothing;
        posts.clear();
        send();
        EXPECT_FALSE(departed) << when;
        EXPECT_EQ(posts.size(), when == std::string_view("before the bytes leave") ? 1U : 0U) << when;
        EXPECT_FALSE(attempt->mayHaveMoved());
        attempt->reported(u"2525342"_s, false);
        EXPECT_TRUE(AttemptLedger::shared().unsettled().empty()) << when;
    }
}

TEST_F(AttemptTest, ACancelOfAPaymentThatLeftIsListedUntilItIsSettled)
{
    send();
    ASSERT_TRUE(departed);
    EXPECT_FALSE(attempt->withdraw());
    attempt->end();
    attempt->reported(u"2525342"_s, false);
    auto listed = AttemptLedger::shared().unsettled();
    ASSERT_EQ(listed.size(), 1U);
    EXPECT_EQ(listed[0].identifier, attempt->identifier());
    EXPECT_EQ(listed[0].additionalData, u"order 17"_s);
    EXPECT_EQ(listed[0].merchantID, u"1001"_s);
    EXPECT_EQ(listed[0].amount, u"1000"_s);
    EXPECT_EQ(listed[0].tokenHash, u"1f93603db53bfad5c92390f735d0cbb8617b4ab8214ae91c5664a3d1e9b009c8"_s);
    EXPECT_TRUE(listed[0].sent.isValid());
    EXPECT_FALSE(listed[0].answered.isValid());
    EXPECT_EQ(listed[0].reportedCode, u"2525342"_s);

    // The answer comes late and is kept.
    std::exchange(completion, {})(UrlResponse{200, sealed(success)});
    listed = AttemptLedger::shared().unsettled();
    ASSERT_EQ(listed.size(), 1U);
    EXPECT_TRUE(listed[0].answered.isValid());
    EXPECT_EQ(listed[0].code, u"0"_s);
    EXPECT_TRUE(AttemptLedger::shared().settle(listed[0].identifier));
    EXPECT_FALSE(AttemptLedger::shared().settle(listed[0].identifier));
    EXPECT_TRUE(AttemptLedger::shared().unsettled().empty());
}

TEST_F(AttemptTest, EveryEndOfAPaymentIsToldAndListedAsItIs)
{
    const TransportError unsent{u"no"_s, false};
    const TransportError lost{u"no"_s, true};
    const auto answerOf = [this](const QString &json) { return UrlResult(UrlResponse{200, sealed(json)}); };
    const struct
    {
        const char *name;
        std::function<UrlResult()> result;
        bool leaves;
        bool isOutcome; // a receipt reports it
        Kind told;
        bool isListed;
    } rows[] = {
        {"approved", [&] { return answerOf(success); }, true, true, Kind::Answered, false},
        {"declined", [&] { return answerOf(uR"({"rc":51})"_s); }, true, true, Kind::Answered, false},
        {"unreadable",
         [&] {
             return UrlResponse{200, "\"?\""};
         },
         true, true, Kind::AnswerUnreadable, true},
        {"HTTP 500",
         [&] {
             return UrlResponse{500, {}};
         },
         true, false, Kind::TransportError, true},
        {"no connection", [&] { return unsent; }, false, false, Kind::TransportError, false},
        {"cut", [&] { return lost; }, true, false, Kind::TransportError, true},
    };
    for (const auto &row : rows) {
        begin();
        told();
        leaves = row.leaves;
        send();
        std::exchange(completion, {})(row.result());
        EXPECT_EQ(told(), (std::vector{Kind::Submitted, row.told})) << row.name;
        EXPECT_EQ(AttemptLedger::shared().unsettled().size(), row.name == std::string_view("no connection") ? 0U : 1U)
            << row.name << " until it is reported";
        attempt->withdraw();
        attempt->reported(u"x"_s, row.isOutcome);
        EXPECT_EQ(AttemptLedger::shared().unsettled().size(), row.isListed ? 1U : 0U) << row.name;
        settleAll();
    }
}

TEST_F(AttemptTest, AMistakeOfTheHostsDoesNothing)
{
    std::optional<Attempt::Silence> silence;
    attempt->setSilenceListener([&](Attempt::Silence told) { silence = told; });
    keychain.deleteEntryForKey(u"mid"_s);
    told();
    send();
    EXPECT_EQ(told(), std::vector{Kind::Submitted});
    EXPECT_EQ(silence, Attempt::Silence::Mistake);
    EXPECT_TRUE(posts.empty());
    keychain.setString(u"1001"_s, u"mid"_s);
    send();
    EXPECT_TRUE(departed) << "and the payer may try again";
}

TEST_F(AttemptTest, OnePaymentAtATime)
{
    told();
    EXPECT_FALSE(Attempt::begin({}));
    EXPECT_EQ(told(), std::vector{Kind::Refused});
    send();
    attempt->end();
    EXPECT_FALSE(Attempt::begin({})) << "its request is on its way";
    EXPECT_FALSE(attempt->end()) << "somebody else has the last word";
    told();
    std::exchange(completion, {})(TransportError{});
    EXPECT_EQ(told().back(), Kind::Ended);
    EXPECT_FALSE(Attempt::current());
    begin();
    EXPECT_EQ(Attempt::current(), attempt);

    // Another process's; a second lock of one process is like one of another.
    attempt.reset();
    const QString folder = *stateFolder() + u"/payment"_s;
    {
        const Files::FolderLock other(folder, 0);
        ASSERT_TRUE(other.isHeld());
        EXPECT_FALSE(Attempt::begin({}));
    }
    begin();
}

TEST_F(AttemptTest, ATokenWithoutAnAnswerEndsIt)
{
    run(token, u"0912||x||7"_s, TransportError{u"no"_s, true});
    EXPECT_EQ(told(), (std::vector{Kind::Started, Kind::TokenAsked, Kind::TransportError, Kind::Ended}));
    EXPECT_FALSE(Attempt::current());
    EXPECT_TRUE(AttemptLedger::shared().unsettled().empty());
}

TEST_F(AttemptTest, WhatIsOldAndSettledIsForgottenThoughNobodyAsksForTheList)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"ledger"_s);
    UnsettledAttempt attempt;
    attempt.begun = QDateTime::currentDateTime().addDays(-91);
    for (const auto &identifier : {u"old"_s, u"unsettled"_s}) {
        attempt.identifier = identifier;
        AttemptLedger(path).aboutToSend(attempt);
    }
    AttemptLedger(path).reported(u"old"_s, u"0"_s, true);
    attempt.identifier = u"new"_s;
    attempt.begun = QDateTime::currentDateTime();
    AttemptLedger(path).begun(attempt);
    SqliteStore store(path, SqliteStore::Durability::SurvivesPowerLoss, "");
    EXPECT_EQ(store.run([](SqliteDatabase &database) {
        auto select = database.prepare("SELECT group_concat(identifier) FROM attempts");
        return select.step() == SqliteStatement::Step::Row ? select.text(0) : QString();
    }),
              u"new,unsettled"_s);
}

} // namespace
} // namespace kelpay
