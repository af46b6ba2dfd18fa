#pragma once

#include <QQuickImageProvider>

namespace kelpay {

using namespace Qt::StringLiterals;

/// The images of the SDK's bundle for QML: "image://kelpay/<file>" as it is, "image://kelpay/<file>/<RRGGBB>" with
/// every pixel in that colour and the file's opacity.
class BundleImages : public QQuickImageProvider
{
public:
    BundleImages();
    static QString id() { return u"kelpay"_s; }
    QImage requestImage(const QString &request, QSize *size, const QSize &requestedSize) override;
};

} // namespace kelpay
