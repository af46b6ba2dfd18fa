#pragma once

#include <QByteArray>
#include <QJsonDocument>

namespace kelpay {

/// The JSON in `text`; a null document for what is none, and for one whose arrays and objects nest deeper than 32: Qt
/// reads deeper ones than its archives can write.
QJsonDocument readJson(const QByteArray &text);

} // namespace kelpay
