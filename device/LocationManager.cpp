#include "LocationManager.h"

#include "platform/Log.h"
#include "platform/SystemFacts.h"

#include <QGeoPositionInfoSource>
#include <QLocale>
#include <QMetaEnum>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

QString decimal(double degrees)
{
    return QString::number(degrees, 'f', QLocale::FloatingPointShortest);
}

QString text(const QGeoPositionInfo &location)
{
    return decimal(location.coordinate().latitude()) + u',' + decimal(location.coordinate().longitude());
}

std::unique_ptr<QGeoPositionInfoSource> systemSource()
{
    // GeoClue asks the user, and remembers the answer, by the application's desktop identifier.
    const QVariantMap parameters{{u"desktopId"_s, SystemFacts::hostIdentifier()}};
    return std::unique_ptr<QGeoPositionInfoSource>(QGeoPositionInfoSource::createDefaultSource(parameters, nullptr));
}

} // namespace

LocationManager::LocationManager(Callback callback) : LocationManager(systemSource(), std::move(callback)) {}

LocationManager::LocationManager(std::unique_ptr<QGeoPositionInfoSource> source, Callback callback)
    : m_source(std::move(source)), m_callback(std::move(callback))
{}

LocationManager::~LocationManager() = default;

void LocationManager::startUpdatingLocation()
{
    if (!m_source) {
        const auto fail = [this] { didFailWithError(u"the system has no source of positions"_s); };
        QMetaObject::invokeMethod(this, fail, Qt::QueuedConnection);
        return;
    }
    // Queued, so that a source that answers at once does not call back before this returns.
    connect(
        m_source.get(), &QGeoPositionInfoSource::positionUpdated, this,
        [this](const QGeoPositionInfo &location) { didUpdateLocations({location}); }, Qt::QueuedConnection);
    connect(
        m_source.get(), &QGeoPositionInfoSource::errorOccurred, this,
        [this](QGeoPositionInfoSource::Error error) {
            const char *name = QMetaEnum::fromType<QGeoPositionInfoSource::Error>().valueToKey(error);
            didFailWithError(QLatin1StringView(name));
        },
        Qt::QueuedConnection);
    m_source->setPreferredPositioningMethods(QGeoPositionInfoSource::AllPositioningMethods);
    m_source->startUpdates();
    m_source->requestUpdate();
}

void LocationManager::didUpdateLocations(const QList<QGeoPositionInfo> &locations)
{
    if (!locations.isEmpty())
        tell(text(locations.last()));
}

void LocationManager::didUpdateToLocation(const QGeoPositionInfo &newLocation, const QGeoPositionInfo &)
{
    const QString described = newLocation.isValid() ? text(newLocation) : u"(null)"_s;
    qCInfo(logDevice, "didUpdateToLocation: %s", qUtf8Printable(described));
    if (newLocation.isValid())
        tell(text(newLocation));
}

void LocationManager::didFailWithError(const QString &error)
{
    qCWarning(logDevice, "didFailWithError: %s", qUtf8Printable(error));
    tell(u"0.0,0.0"_s);
}

void LocationManager::tell(const QString &location)
{
    // A copy, because the callback may release this object.
    if (const Callback callback = m_callback)
        callback(location);
}

} // namespace kelpay
