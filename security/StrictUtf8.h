#pragma once

#include "platform/Bytes.h"

#include <QString>
#include <QStringDecoder>

#include <optional>

namespace kelpay {

/// The bytes as text, a U+FEFF at the start included, or std::nullopt where they are no UTF-8.
inline std::optional<QString> strictUtf8(const Bytes &bytes)
{
    QStringDecoder utf8(QStringDecoder::Utf8,
                        QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    const QString text = utf8(QByteArrayView(bytes.view().data(), static_cast<qsizetype>(bytes.size())));
    return utf8.hasError() ? std::nullopt : std::optional(text);
}

} // namespace kelpay
