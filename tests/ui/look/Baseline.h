#pragma once

#include <QImage>
#include <QString>

namespace kelpay {

/// How far `seen` is from `expected`, in the worst place: the greatest mean difference of a channel, 0 to 255, within a
/// block of 16 pixels square. 255 for images of different sizes.
double worstDifference(const QImage &expected, const QImage &seen);

/// `names[i]` under `images[i]`, in rows, all of a height.
QImage contactSheet(const QList<QImage> &images, const QStringList &names, int height, int columns, bool isDark);

} // namespace kelpay
