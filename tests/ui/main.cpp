#include "ui/components/Fonts.h"

#include <QGuiApplication>
#include <gtest/gtest.h>

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("ui_test"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("test.kelpay.example"));
    kelpay::loadFonts();
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
