#include <QGuiApplication>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"ui_test"_s);
    QCoreApplication::setOrganizationDomain(u"test.kelpay.example"_s);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
