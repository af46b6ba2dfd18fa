// A host of Qt Widgets: takes one payment of 150,000 rials in a window above its own, prints its outcome, and ends with
// 0 when it was paid.

#include <KelPay/KelPayCore.h>

#include <QApplication>
#include <QPushButton>
#include <QTextStream>

using namespace Qt::StringLiterals;
using kelpay::KelPayCore;

namespace {

/// May be called on any thread, so it touches no widget.
void tell(bool success, const QString &code, const QString &description, const QString &reference, const QString &)
{
    QTextStream(stdout) << (success ? u"paid, tracking number "_s + reference : code + u": "_s + description)
                        << Qt::endl;
    QMetaObject::invokeMethod(
        qApp, [success] { QApplication::exit(success ? 0 : 1); }, Qt::QueuedConnection);
}

} // namespace

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    QApplication::setApplicationName(u"kelpay-widgets"_s);
    QApplication::setOrganizationDomain(u"example.org"_s);
    QApplication::setApplicationVersion(u"1.0"_s);

    KelPayCore::initWithMerchantID(u"1001"_s);
    QPushButton button(u"150,000 rials"_s);
    QObject::connect(&button, &QPushButton::clicked, &button, [] {
        KelPayCore::sharedInstance().startPaymentWithMSISDN(u"09120000000"_s, u"order 17"_s, u"724|150000|Books"_s,
                                                            tell);
    });
    button.show();
    return QApplication::exec();
}
