#pragma once

#include "Bytes.h"

#include <QJsonObject>

namespace kelpay {

/// Appends `object` as compact JSON in UTF-8, keys in the object's order. Numbers that are integers are written as
/// integers, numbers that JSON doesn't know as null, lone surrogates as U+FFFD. No copy of a text is left in memory
/// that isn't wiped.
void appendJson(BytesBuilder &out, const QJsonObject &object);

/// An object that is written member by member, from the constructor's brace to the destructor's; the same form.
class JsonObjectWriter
{
public:
    explicit JsonObjectWriter(BytesBuilder &out) : m_out(out) { m_out.append('{'); }
    JsonObjectWriter(const JsonObjectWriter &) = delete;
    JsonObjectWriter &operator=(const JsonObjectWriter &) = delete;
    ~JsonObjectWriter() { m_out.append('}'); }

    /// What is written next is the value of this member.
    BytesBuilder &member(const QString &key);
    void put(const QString &key, const QJsonValue &value);
    /// A text in UTF-8 that must not be copied.
    void put(const QString &key, const Bytes &text);

private:
    BytesBuilder &m_out;
    bool m_isFirst = true;
};

} // namespace kelpay
