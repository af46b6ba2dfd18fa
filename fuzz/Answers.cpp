// What a service answers: its record, what is stored of it, and what a screen shows.

#include "Fuzz.h"

#include "device/CoreFunctions.h"
#include "platform/Formats.h"
#include "platform/Json.h"
#include "platform/KeyedArchiver.h"
#include "security/CoreSecurity.h"
#include "ui/receipt/ReceiptViewController.h"

#include <QCryptographicHash>

namespace kelpay::fuzz {

using namespace Qt::StringLiterals;

namespace {

void requireShowable(const QString &text)
{
    const QString shown = Formats::shownText(text);
    require(shown.size() <= 401, "a shown text is bounded");
    for (const QChar character : shown)
        require(character.category() != QChar::Other_Control, "a shown text has no control characters");
    for (const QChar mark : u"\u061C\u200E\u200F\u202A\u202B\u202C\u202D\u202E\u2066\u2067\u2068\u2069"_s)
        require(!shown.contains(mark), "a shown text has no marks of direction");
}

template <class T> T keptRecord(const QJsonValue &answer)
{
    const T record = T::modelObject(answer);
    const auto kept = T::unarchived(record.archived());
    require(kept && kept->dictionaryRepresentation() == record.dictionaryRepresentation(), "a record keeps its values");
    return *kept;
}

template <class T> void readArchive(const Bytes &archive)
{
    if (const auto record = T::unarchived(archive))
        require(T::unarchived(record->archived()).has_value(), "a record that was read can be stored");
}

} // namespace

void answers(const QByteArray &input)
{
    CoreSecurity().decryptRequest(QString::fromUtf8(input));
    const QJsonDocument document = readJson(input);
    const QJsonValue answer = document.isObject() ? QJsonValue(document.object()) : QJsonValue::Undefined;
    resultCode(answer["rc"_L1]);
    const auto rd = keptRecord<BaseClass>(answer).rd;
    for (const auto &value : {rd.amn, rd.ttl, rd.mn, rd.wb, rd.vu})
        requireShowable(textValue(value).value_or(QString()));

    const CoreFunctions functions;
    functions.parsePaymentBody(answer);
    require(functions.storedPaymentAnswer()->dictionaryRepresentation() ==
                keptRecord<BaseClassp>(answer).dictionaryRepresentation(),
            "the receipt reads what was answered");
    for (const auto &line : ReceiptViewController::linesOf(ReceiptViewController::PaymentData::gather()))
        require(line.value.size() <= 401, "a receipt's line is bounded");
}

/// With the right checksum, as somebody makes it who can write the store.
void archives(const QByteArray &input)
{
    const Bytes archive = Bytes::fromByteArray(QCryptographicHash::hash(input, QCryptographicHash::Sha256) + input);
    readArchive<BaseClass>(archive);
    readArchive<BaseClassp>(archive);
    KeyedArchiver::unarchive(QString(), Bytes::fromByteArray(input));
}

} // namespace kelpay::fuzz
