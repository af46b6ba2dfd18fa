#include "Json.h"

namespace kelpay {

namespace {

constexpr int deepest = 32;

bool isTooDeep(const QByteArray &text)
{
    int depth = 0;
    bool isInString = false;
    for (qsizetype at = 0; at < text.size(); ++at) {
        const char character = text[at];
        if (isInString) {
            at += character == '\\' ? 1 : 0;
            isInString = character != '"';
        } else if (character == '[' || character == '{') {
            if (++depth > deepest)
                return true;
        } else if (character == ']' || character == '}') {
            --depth;
        } else {
            isInString = character == '"';
        }
    }
    return false;
}

} // namespace

QJsonDocument readJson(const QByteArray &text)
{
    return isTooDeep(text) ? QJsonDocument() : QJsonDocument::fromJson(text);
}

} // namespace kelpay
