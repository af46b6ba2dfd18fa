#include <QFontDatabase>
#include <QGuiApplication>
#include <gtest/gtest.h>

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("ui_test"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("test.kelpay.example"));
    // The faces that the entry point registers when the SDK is loaded.
    for (const auto *name : {"irsansbold", "IRANSansFaNum-Medium", "IRANSansMobile(FaNum)"}) {
        QFontDatabase::addApplicationFont(QStringLiteral(":/dev.kel.KelPay/%1.ttf").arg(QLatin1String(name)));
        QFont::insertSubstitution(QString::fromLatin1(name), QStringLiteral("Vazirmatn UI FD"));
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
