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

QJsonObject Journal::add(QJsonObject entry, const QJsonObject &answer)
{
    const std::lock_guard guard(m_mutex);
    entry.insert("time"_L1, QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs));
    if (m_file.isOpen()) {
        m_file.write(QJsonDocument(entry).toJson(QJsonDocument::Compact) + '\n');
        m_file.flush();
    }
    for (const Listener &listener : m_listeners)
        listener(entry, answer);
    return entry;
}

} // namespace kelpay::sandbox
