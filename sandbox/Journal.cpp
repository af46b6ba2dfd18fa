#include "Journal.h"

#include "platform/Files.h"

#include <QDateTime>
#include <QJsonDocument>

namespace kelpay::sandbox {

using namespace Qt::StringLiterals;

bool Journal::open(const QString &path)
{
    if (path.isEmpty())
        return true;
    m_file.setFileName(path);
    return Files::makePrivateFile(path) && m_file.open(QIODevice::WriteOnly | QIODevice::Append);
}

void Journal::add(QJsonObject entry)
{
    const std::lock_guard guard(m_mutex);
    if (!m_file.isOpen())
        return;
    entry.insert("time"_L1, QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs));
    m_file.write(QJsonDocument(entry).toJson(QJsonDocument::Compact) + '\n');
    m_file.flush();
}

} // namespace kelpay::sandbox
