#pragma once

#include <QQuickImageProvider>

namespace kelpay {

/// The images of the SDK's bundle for QML: "image://kelpay/<file>" as it is, "image://kelpay/<file>/<RRGGBB>" with
/// every pixel in that colour and the file's opacity.
class BundleImages : public QQuickImageProvider
{
public:
    BundleImages();
    static QString id() { return QStringLiteral("kelpay"); }
    QImage requestImage(const QString &request, QSize *size, const QSize &requestedSize) override;
};

} // namespace kelpay
