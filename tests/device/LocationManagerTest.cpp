#include "device/LocationManager.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QGeoPositionInfoSource>
#include <QLocale>
#include <QStringList>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

class FakeSource : public QGeoPositionInfoSource
{
public:
    FakeSource() : QGeoPositionInfoSource(nullptr) {}

    QGeoPositionInfo lastKnownPosition(bool) const override { return {}; }
    PositioningMethods supportedPositioningMethods() const override { return AllPositioningMethods; }
    int minimumUpdateInterval() const override { return 0; }
    Error error() const override { return NoError; }
    void startUpdates() override { isUpdating = true; }
    void stopUpdates() override { isUpdating = false; }
    void requestUpdate(int) override { Q_EMIT positionUpdated(at(35.6892, 51.389)); } // at once, within the call

    static QGeoPositionInfo at(double latitude, double longitude)
    {
        return {QGeoCoordinate(latitude, longitude), QDateTime::currentDateTimeUtc()};
    }

    bool isUpdating = false;
};

QStringList logged;

void collectLog(QtMsgType, const QMessageLogContext &, const QString &message)
{
    logged << message;
}

/// Collects what is told and logged.
class LocationTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        logged.clear();
        m_former = qInstallMessageHandler(collectLog);
    }
    void TearDown() override { qInstallMessageHandler(m_former); }

    QStringList told;
    LocationManager::Callback callback = [this](const QString &location) { told << location; };

private:
    QtMessageHandler m_former = nullptr;
};

TEST_F(LocationTest, TellsEveryUpdateFromTheEventLoop)
{
    const QLocale former;
    QLocale::setDefault(QLocale(QLocale::Persian, QLocale::Iran));
    auto owned = std::make_unique<FakeSource>();
    FakeSource &source = *owned;
    LocationManager manager(std::move(owned), callback);
    manager.startUpdatingLocation();
    EXPECT_TRUE(told.isEmpty());
    EXPECT_TRUE(source.isUpdating);
    Q_EMIT source.positionUpdated(FakeSource::at(-0.0000125, 180));
    QCoreApplication::processEvents();
    EXPECT_EQ(told, QStringList({u"35.6892,51.389"_s, u"-0.0000125,180"_s}));
    QLocale::setDefault(former);

    Q_EMIT source.errorOccurred(QGeoPositionInfoSource::AccessError);
    QCoreApplication::processEvents();
    EXPECT_EQ(told.last(), u"0.0,0.0"_s);
    EXPECT_EQ(logged, QStringList(u"didFailWithError: AccessError"_s));
}

TEST_F(LocationTest, ASystemWithoutASourceFails)
{
    LocationManager manager(nullptr, callback);
    manager.startUpdatingLocation();
    EXPECT_TRUE(told.isEmpty());
    QCoreApplication::processEvents();
    EXPECT_EQ(told, QStringList(u"0.0,0.0"_s));
}

} // namespace
} // namespace kelpay
