#pragma once

#include "Bytes.h"

#include <QJsonObject>

namespace kelpay {

/// Appends `object` as compact JSON in UTF-8, keys in the object's order. Numbers that are integers are written as
/// integers, numbers that JSON doesn't know as null, lone surrogates as U+FFFD. No copy of a text is left in memory
/// that isn't wiped.
void appendJson(BytesBuilder &out, const QJsonObject &object);

} // namespace kelpay
