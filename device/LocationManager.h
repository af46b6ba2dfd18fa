#pragma once

#include <QList>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>

class QGeoPositionInfo;
class QGeoPositionInfoSource;

namespace kelpay {

/// Follows the device's position and tells it as text, "latitude,longitude" in degrees: "35.6892,51.389". Main queue.
class LocationManager : public QObject
{
    Q_OBJECT

public:
    using Callback = std::function<void(const QString &)>;

    /// Positions come from the system's default source.
    explicit LocationManager(Callback callback);
    /// Null stands for a system without any source.
    LocationManager(std::unique_ptr<QGeoPositionInfoSource> source, Callback callback);
    ~LocationManager() override;

    /// Begins to follow, and asks for one position at once. Ends with this object. The callback runs from the event
    /// loop, on every update; "0.0,0.0" tells a failure, permission refused or no source among them.
    void startUpdatingLocation();
    Callback callback() const { return m_callback; }

    /// The last of `locations` is told.
    void didUpdateLocations(const QList<QGeoPositionInfo> &locations);
    /// The older form: logs and tells `newLocation`, unless it is invalid.
    void didUpdateToLocation(const QGeoPositionInfo &newLocation, const QGeoPositionInfo &oldLocation);
    void didFailWithError(const QString &error);

private:
    void tell(const QString &location);

    std::unique_ptr<QGeoPositionInfoSource> m_source;
    Callback m_callback;
};

} // namespace kelpay
