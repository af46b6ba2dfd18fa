#include "BundleImages.h"

#include "platform/Bundle.h"

#include <QPainter>

namespace kelpay {

BundleImages::BundleImages() : QQuickImageProvider(QQuickImageProvider::Image) {}

QImage BundleImages::requestImage(const QString &request, QSize *size, const QSize &requestedSize)
{
    const QStringList parts = request.split(u'/');
    const auto path = Bundle::sdk().pathForResource(parts.first());
    // A missing file is drawn as nothing: logos are the deployer's to leave out.
    QImage image = path ? QImage(*path) : QImage();
    if (image.isNull()) {
        image = QImage(1, 1, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
    }
    if (size)
        *size = image.size();
    if (requestedSize.width() > 0 && requestedSize.height() > 0)
        image = image.scaled(requestedSize, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    if (parts.size() > 1) {
        image = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
        QPainter painter(&image);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(image.rect(), QColor(u'#' + parts.at(1)));
    }
    return image;
}

} // namespace kelpay
