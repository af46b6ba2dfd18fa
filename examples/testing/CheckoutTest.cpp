// How a host tests its payments: the real screens, real input, and a service of the test's own.

#include <KelPay/KelPayCore.h>
#include <KelPay/Testing.h>

#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;
using kelpay::KelPayCore;
using namespace kelpay::testing;

class CheckoutTest : public QObject
{
    Q_OBJECT

    Sandbox sandbox;
    Payer payer;
    QString told;

    void buy(const QString &mobile)
    {
        told.clear();
        KelPayCore::sharedInstance().startPaymentWithMSISDN(
            mobile, u"order 17"_s, u"724|150000|Books"_s,
            [this](bool, const QString &code, const QString &, const QString &, const QString &) {
                QMetaObject::invokeMethod(this, [this, code] { told = code; });
            });
    }

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY2(sandbox.isRunning(), qPrintable(sandbox.problem()));
        KelPayCore::initWithMerchantID(u"1001"_s);
    }

    void paysWithACard()
    {
        buy(u"09120000000"_s);
        QVERIFY2(payer.pay(u"6037991234567893"_s, u"12345"_s) && payer.closeReceipt(), qPrintable(payer.problem()));
        QTRY_COMPARE(told, u"1"_s);
        QCOMPARE(sandbox.exchanges(u"payment"_s).size(), 1U);
    }

    void tellsThatThePayerLeft()
    {
        buy(u"09120000101"_s);
        QVERIFY2(payer.cancel(), qPrintable(payer.problem()));
        QTRY_COMPARE(told, u"2525342"_s);
    }
};

QTEST_MAIN(CheckoutTest)
#include "CheckoutTest.moc"
