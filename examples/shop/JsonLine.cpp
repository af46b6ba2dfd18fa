#include "JsonLine.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QStringList>
#include <QTextStream>

using namespace Qt::StringLiterals;

void printLine(const JsonLine &line)
{
    QStringList members;
    for (const auto &[name, value] : line) {
        QByteArray text = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
        text = text.sliced(1, text.size() - 2);
        members << u"\"%1\":%2"_s.arg(name, QString::fromUtf8(text));
    }
    QTextStream(stdout) << u'{' << members.join(u',') << u'}' << Qt::endl;
}
