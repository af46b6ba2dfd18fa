// A payer that comes into any host as a plugin of Qt's (QT_QPA_GENERIC_PLUGINS=payer): starts the purchase with Tab
// and the space bar where there is something to start, pays, and closes the receipt. PAYER_LINGERS says how many
// milliseconds each screen is looked at.

#include <KelPay/Testing.h>

#include <QGenericPlugin>
#include <QGuiApplication>
#include <QTest>
#include <QTimer>
#include <QWindow>

using namespace Qt::StringLiterals;

class Payer : public QGenericPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "payer.json")

public:
    QObject *create(const QString &, const QString &) override
    {
        QTimer::singleShot(0, this, [] { pay(); });
        return new QObject;
    }

private:
    static void pay()
    {
        if (qEnvironmentVariableIsSet("PAYER_PRESSES_SPACE")) {
            if (!QTest::qWaitFor([] { return QGuiApplication::focusWindow() != nullptr; }))
                qWarning("payer: the host opened no window");
            QTest::keyClick(QGuiApplication::focusWindow(), Qt::Key_Tab);
            QTest::keyClick(QGuiApplication::focusWindow(), Qt::Key_Space);
        }
        kelpay::testing::Payer payer;
        const int look = qEnvironmentVariableIntValue("PAYER_LINGERS");
        bool isPaid = payer.waitForPaymentScreen();
        QTest::qWait(look);
        isPaid = isPaid && payer.pay(u"6037991234567893"_s, u"12345"_s);
        QTest::qWait(look);
        if (!isPaid || !payer.closeReceipt())
            qWarning("payer: %s", qPrintable(payer.problem()));
    }
};

#include "Payer.moc"
