#include "Json.h"

namespace kelpay {

namespace {

constexpr int deepest = 32;

// What Qt's tree takes: about 20 bytes a value, and as much as six values for each array and object.
constexpr qsizetype weightOfContainer = 6;
constexpr qsizetype weightOfAnswer = 10'000;
constexpr qsizetype bytesOfWeight = 5;

bool isTooMuch(const QByteArray &text, JsonUse use)
{
    int depth = 0;
    qsizetype weight = 0;
    bool isInString = false;
    for (qsizetype at = 0; at < text.size(); ++at) {
        const char character = text[at];
        if (isInString) {
            at += character == '\\' ? 1 : 0;
            isInString = character != '"';
        } else if (character == '[' || character == '{') {
            weight += weightOfContainer;
            if (++depth > deepest)
                return true;
        } else if (character == ']' || character == '}') {
            --depth;
        } else {
            weight += character == ',' || character == ':' ? 1 : 0;
            isInString = character == '"';
        }
    }
    return weight > weightOfAnswer + (use == JsonUse::List ? text.size() / bytesOfWeight : 0);
}

} // namespace

QJsonDocument readJson(const QByteArray &text, JsonUse use)
{
    return isTooMuch(text, use) ? QJsonDocument() : QJsonDocument::fromJson(text);
}

} // namespace kelpay
