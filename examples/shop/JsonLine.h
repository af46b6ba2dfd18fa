#pragma once

#include <QJsonValue>
#include <QList>
#include <QString>

#include <utility>

/// Names and values of one JSON object, in the order in which they are printed.
using JsonLine = QList<std::pair<QString, QJsonValue>>;

/// Prints the object on one line of standard output.
void printLine(const JsonLine &line);
