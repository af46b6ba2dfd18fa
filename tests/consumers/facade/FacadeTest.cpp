// What hosts have beside a payment, how long a list can take, and a payer who does nothing.

#include <KelPay/KelPayCore.h>
#include <KelPay/KelPaySandbox.h>
#include <KelPay/Testing.h>

#include <QElapsedTimer>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;
using kelpay::KelPayCore;

class FacadeTest : public QObject
{
    Q_OBJECT

    QQmlEngine engine;

    std::unique_ptr<QObject> payment(const QByteArray &members)
    {
        QQmlComponent component(&engine);
        component.setData("import KelPay\nPayment {" + members + "}", {});
        return std::unique_ptr<QObject>(component.create());
    }

private Q_SLOTS:
    static void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    static void version() { QCOMPARE(KelPayCore::version(), u"" KELPAY_VERSION ""_s); }

    void lists_data()
    {
        QTest::addColumn<QByteArray>("fetch");
        QTest::addColumn<QByteArray>("answer");
        QTest::newRow("internet") << QByteArray("fetchInternetList")
                                  << QByteArray(SIGNAL(internetList(bool, QVariant)));
        QTest::newRow("charge") << QByteArray("fetchChargeList") << QByteArray(SIGNAL(chargeList(bool, QVariant)));
    }
    void lists()
    {
        QFETCH(QByteArray, fetch);
        QFETCH(QByteArray, answer);
        const kelpay::testing::Sandbox sandbox;
        const auto item = payment({});
        QVERIFY(item);
        QSignalSpy answers(item.get(), answer.constData());
        QVERIFY(QMetaObject::invokeMethod(item.get(), fetch.constData()));
        QVERIFY2(answers.isEmpty(), "it blocked");
        QVERIFY(answers.wait());
        QCOMPARE(answers.at(0).at(0).toBool(), true);
        QVERIFY(!answers.at(0).at(1).value<QVariant>().toList().isEmpty() ||
                !answers.at(0).at(1).value<QVariant>().toMap().isEmpty());
        QCOMPARE(sandbox.exchanges(u"list"_s).size(), 1U);
    }

    void aPayerCanLetTheTimeRunOut()
    {
        const kelpay::testing::Sandbox sandbox;
        kelpay::testing::Payer payer;
        kelpay::sandbox::setClockRate(100); // Longer than QTRY_COMPARE waits.
        KelPayCore::initWithMerchantID(u"1001"_s);
        QString told;
        KelPayCore::sharedInstance().startPaymentWithMSISDN(
            u"09120000000"_s, {}, u"724"_s, [this, &told](bool, const QString &code, const auto &...) {
                QMetaObject::invokeMethod(this, [&told, code] { told = code; });
            });
        QVERIFY2(payer.expire(), qPrintable(payer.problem()));
        QTRY_COMPARE(told, u"2525343"_s);
    }

    void aListIsNotToldToOneThatWent()
    {
        const kelpay::testing::Sandbox sandbox;
        bool isTold = false;
        {
            QObject context;
            KelPayCore::sharedInstance().getChargeListWithCompletion(&context, [&](bool, auto) { isTold = true; });
        }
        QTRY_COMPARE(sandbox.exchanges(u"list"_s).size(), 1U);
        QTest::qWait(200);
        QVERIFY(!isTold);
    }

    void mistakesAreTold()
    {
        const auto item = payment("property string mistake; onProgrammingError: message => mistake = message");
        QVERIFY(item);
        QVERIFY(QMetaObject::invokeMethod(item.get(), "start", Q_ARG(QString, u"09120000000"_s), Q_ARG(QString, {}),
                                          Q_ARG(QString, u"724"_s)));
        QTRY_VERIFY(item->property("mistake").toString().contains(u"merchantId"_s));
    }

    /// Qt tells an item so while it holds the receiver's lock, which one in 131 shares with the item.
    void whoeverHearsOfMistakesMayEnd()
    {
        const auto item = payment({});
        std::vector<std::unique_ptr<QObject>> receivers(2000);
        for (auto &receiver : receivers) {
            receiver = std::make_unique<QObject>();
            QVERIFY(connect(item.get(), SIGNAL(programmingError(QString)), receiver.get(), SLOT(deleteLater())));
        }
    }

    /// A service that takes the connection and says nothing.
    void aDeadNetworkEndsAfterAMinute()
    {
        QTcpServer mute;
        int last = 240;
        while (!mute.listen(QHostAddress(u"127.0.0.%1"_s.arg(last)), 1443) && last < 254)
            ++last;
        QVERIFY(mute.isListening());
        qputenv("KELPAY_SERVICE_HOST", mute.serverAddress().toString().toLatin1());
        QElapsedTimer waited;
        waited.start();
        bool isTold = false;
        KelPayCore::sharedInstance().getInternetListWithCompletion(this, [&](bool ok, auto) { isTold = !ok; });
        QTRY_VERIFY_WITH_TIMEOUT(isTold, 70'000);
        QVERIFY2(waited.elapsed() > 55'000 && waited.elapsed() < 65'000, QByteArray::number(waited.elapsed()));
    }
};

QTEST_MAIN(FacadeTest)
#include "FacadeTest.moc"
