#pragma once

#include "platform/Bytes.h"

#include <QString>
#include <QStringView>

#include <optional>
#include <string_view>

namespace kelpay {

// Base64 (RFC 4648): standard alphabet, "=" padding; std::nullopt where memory runs out. Any thread. A text is ordinary
// memory; keep a secret's base64 in Bytes.

std::optional<QString> base64EncodedString(const Bytes &data);
/// In lines of `lineLength` characters (a multiple of 4) with a carriage return and a line feed between them, none at
/// the end.
std::optional<QString> base64EncodedString(const Bytes &data, int lineLength);
/// The same text, without line breaks, as wiped bytes.
std::optional<Bytes> base64EncodedData(const Bytes &data);

enum class UnknownCharacters { Refuse, Ignore };

/// The decoded bytes, or std::nullopt where a character stands outside the alphabet (line breaks included) unless those
/// are ignored, or the characters don't make whole groups of four with the padding at the end.
std::optional<Bytes> decodeBase64(QStringView text, UnknownCharacters unknown);
std::optional<Bytes> decodeBase64(std::string_view text, UnknownCharacters unknown);

/// Refuses characters outside the alphabet.
std::optional<Bytes> base64DecodedDataWithString(const QString &text);
/// Ignore characters outside the alphabet.
std::optional<Bytes> base64DecodedDataWithData(const Bytes &text);
std::optional<Bytes> base64DecodedData(const Bytes &text);

} // namespace kelpay
