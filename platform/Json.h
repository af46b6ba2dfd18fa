#pragma once

#include <QByteArray>
#include <QJsonDocument>

namespace kelpay {

/// An answer holds a screenful, a list a catalogue.
enum class JsonUse { Answer, List };

/// The JSON in `text`; a null document for what is none, and for one whose arrays and objects nest deeper than 32: Qt
/// reads deeper ones than its archives can write. Null, too, for an answer of more than some 10,000 values, and for a
/// list of more that are mostly a few bytes long: as a tree they would take forty times the text.
QJsonDocument readJson(const QByteArray &text, JsonUse use = JsonUse::Answer);

} // namespace kelpay
