#pragma once

#include "platform/Bytes.h"

#include <QCborMap>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>

#include <optional>

namespace kelpay {

/// A text as format strings show it: text as it is, a number in its shortest decimal form, true as "1", false as "0".
/// std::nullopt for nil (undefined or null) and for what is no text at all.
std::optional<QString> textValue(const QJsonValue &value);
/// The number a value stands for: a number, or the number a text begins with; 0 for anything else.
/// A number beyond a double's range is infinite. Takes time in proportion to the text.
double doubleValue(const QJsonValue &value);
/// The same as a whole number's low 32 bits; -1 for one beyond 64 bits, which so is never taken for 0.
qint32 resultCode(const QJsonValue &value);

namespace record {
QString describe(const QJsonObject &object);
Bytes archive(const QString &className, const QCborMap &values);
std::optional<QCborMap> unarchive(const QString &className, const Bytes &archive);
} // namespace record

/// What all records can do. A record T names its fields once, in `T::visit(self, visitor)`: text fields are QJsonValue
/// (undefined when absent; a number sent for a text key stays a number), numbers are double (0 when absent), nested
/// records always exist. No field is required.
template <class T> class Record
{
public:
    /// A record of the values in `dictionary`; an empty one when that is no object.
    static T modelObject(const QJsonValue &dictionary)
    {
        T record;
        if (dictionary.isObject())
            T::visit(record, Reader{dictionary.toObject()});
        return record;
    }

    /// Text fields that are present, all numbers, all nested records, under their keys.
    QJsonObject dictionaryRepresentation() const
    {
        QJsonObject object;
        T::visit(self(), Writer{object});
        return object;
    }

    /// The dictionary representation as text, for a debugger; holds the record's values, so never log it.
    QString description() const { return record::describe(dictionaryRepresentation()); }

    /// The value under `key`, undefined where it is absent or null.
    static QJsonValue objectOrNil(const QString &key, const QJsonObject &dictionary)
    {
        const QJsonValue value = dictionary.value(key);
        return value.isNull() ? QJsonValue(QJsonValue::Undefined) : value;
    }

    /// Keyed coding under the JSON keys.
    QCborMap encode() const
    {
        QCborMap coder;
        T::visit(self(), Encoder{coder});
        return coder;
    }
    static T decode(const QCborMap &coder)
    {
        T record;
        T::visit(record, Decoder{coder});
        return record;
    }

    Bytes archived() const { return record::archive(QString::fromLatin1(T::className), encode()); }
    /// std::nullopt for another record's archive or a damaged one.
    static std::optional<T> unarchived(const Bytes &archive)
    {
        const auto coder = record::unarchive(QString::fromLatin1(T::className), archive);
        return coder ? std::optional<T>(decode(*coder)) : std::nullopt;
    }

private:
    const T &self() const { return static_cast<const T &>(*this); }

    struct Reader
    {
        QJsonObject from;
        void operator()(const char *key, QJsonValue &text) const { text = objectOrNil(QString::fromLatin1(key), from); }
        void operator()(const char *key, double &number) const
        {
            number = doubleValue(objectOrNil(QString::fromLatin1(key), from));
        }
        template <class Nested> void operator()(const char *key, Nested &nested) const
        {
            nested = Nested::modelObject(from.value(QLatin1StringView(key)));
        }
    };
    struct Writer
    {
        QJsonObject &to;
        void operator()(const char *key, const QJsonValue &text) const
        {
            if (!text.isUndefined())
                to.insert(QLatin1StringView(key), text);
        }
        void operator()(const char *key, double number) const { to.insert(QLatin1StringView(key), number); }
        template <class Nested> void operator()(const char *key, const Nested &nested) const
        {
            to.insert(QLatin1StringView(key), nested.dictionaryRepresentation());
        }
    };
    struct Encoder
    {
        QCborMap &to;
        void operator()(const char *key, const QJsonValue &text) const
        {
            if (!text.isUndefined())
                to.insert(QLatin1StringView(key), QCborValue::fromJsonValue(text));
        }
        void operator()(const char *key, double number) const { to.insert(QLatin1StringView(key), number); }
        template <class Nested> void operator()(const char *key, const Nested &nested) const
        {
            to.insert(QLatin1StringView(key), nested.encode());
        }
    };
    struct Decoder
    {
        const QCborMap &from;
        void operator()(const char *key, QJsonValue &text) const
        {
            const QCborValue value = from.value(QLatin1StringView(key));
            text = value.isUndefined() ? QJsonValue(QJsonValue::Undefined) : value.toJsonValue();
        }
        void operator()(const char *key, double &number) const
        {
            number = from.value(QLatin1StringView(key)).toDouble();
        }
        template <class Nested> void operator()(const char *key, Nested &nested) const
        {
            nested = Nested::decode(from.value(QLatin1StringView(key)).toMap());
        }
    };
};

} // namespace kelpay
