#include <gtest/gtest.h>

#include <QCoreApplication>

using namespace Qt::StringLiterals;

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"kelpay-test"_s);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
