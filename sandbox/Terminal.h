#pragma once

#include <QJsonObject>
#include <QString>

namespace kelpay::sandbox {

/// One journal entry for a person who watches: time, kind, merchant, masked card, amount, result, fault if any. Nothing
/// that a client sent can steer the terminal.
QString readableLine(const QJsonObject &entry, bool isColoured);

/// The lines that point a host's process at a service: `export NAME='value'`, for a POSIX shell.
QString exportLines(const QString &host, const QString &url, const QString &identityFolder);

} // namespace kelpay::sandbox
