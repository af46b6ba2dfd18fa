#include "JsonLine.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QStringList>
#include <QTextStream>

void printLine(const JsonLine &line)
{
    QStringList members;
    for (const auto &[name, value] : line) {
        QByteArray text = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
        text = text.sliced(1, text.size() - 2);
        members << QStringLiteral("\"%1\":%2").arg(name, QString::fromUtf8(text));
    }
    QTextStream(stdout) << QLatin1Char('{') << members.join(QLatin1Char(',')) << QLatin1Char('}') << Qt::endl;
}
