#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <optional>

namespace kelpay::sandbox {

/// The kinds of request, by their `m`.
enum class RequestKind { Token, Payment };

RequestKind kindOf(const QJsonObject &request);

/// The JSON text of a request as an object; std::nullopt, with the reason, where it isn't one or isn't compact.
std::optional<QJsonObject> parseRequest(const QByteArray &json, QString &reason);

/// What is wrong with the fifteen keys of a request, or std::nullopt. Never names a value.
std::optional<QString> requestViolation(const QJsonObject &request);

/// The mobile number that a request carries.
QString msisdnOf(const QJsonObject &request);

} // namespace kelpay::sandbox
