#include "Baseline.h"

#include "ui/components/Fonts.h"

#include <QColor>
#include <QFont>
#include <QPainter>

#include <algorithm>
#include <cstdlib>

namespace kelpay {

using namespace Qt::StringLiterals;

double worstDifference(const QImage &expected, const QImage &seen)
{
    if (expected.isNull() || expected.size() != seen.size())
        return 255;
    constexpr int block = 16;
    const QImage one = expected.convertToFormat(QImage::Format_RGB32);
    const QImage other = seen.convertToFormat(QImage::Format_RGB32);
    double worst = 0;
    for (int top = 0; top < one.height(); top += block) {
        for (int left = 0; left < one.width(); left += block) {
            const QRect area = QRect(left, top, block, block) & one.rect();
            int red = 0;
            int green = 0;
            int blue = 0;
            for (int y = area.top(); y <= area.bottom(); ++y) {
                for (int x = area.left(); x <= area.right(); ++x) {
                    const QRgb a = one.pixel(x, y);
                    const QRgb b = other.pixel(x, y);
                    red += std::abs(qRed(a) - qRed(b));
                    green += std::abs(qGreen(a) - qGreen(b));
                    blue += std::abs(qBlue(a) - qBlue(b));
                }
            }
            worst = std::max(worst, std::max({red, green, blue}) / double(area.width() * area.height()));
        }
    }
    return worst;
}

QImage contactSheet(const QList<QImage> &images, const QStringList &names, int height, int columns, bool isDark)
{
    constexpr int gap = 12;
    constexpr int caption = 22;
    const int width = images.constFirst().width() * height / images.constFirst().height();
    const int rows = (static_cast<int>(images.size()) + columns - 1) / columns;
    QImage sheet(columns * (width + gap) + gap, rows * (height + caption + gap) + gap, QImage::Format_RGB32);
    sheet.fill(isDark ? QColor(0x3a, 0x3f, 0x4a) : QColor(0xc9, 0xce, 0xd8));
    QPainter painter(&sheet);
    painter.setPen(isDark ? Qt::white : Qt::black);
    QFont font(Fonts::text());
    font.setPixelSize(12);
    painter.setFont(font);
    for (int index = 0; index < images.size(); ++index) {
        const int x = gap + index % columns * (width + gap);
        const int y = gap + index / columns * (height + caption + gap);
        painter.drawImage(x, y, images[index].scaled(width, height, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
        painter.drawText(QRect(x, y + height, width, caption), Qt::AlignCenter, names[index]);
    }
    return sheet;
}

} // namespace kelpay
