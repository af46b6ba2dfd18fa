#pragma once

#include <QFile>
#include <QJsonObject>
#include <QString>

#include <mutex>

namespace kelpay::sandbox {

/// One compact JSON object a line and exchange. A line is on disk before its answer is sent. Any thread.
class Journal
{
public:
    /// Appends to the file at `path`, private to its owner. "" keeps no journal. False where it can't be opened.
    bool open(const QString &path);
    void add(QJsonObject entry);

private:
    std::mutex m_mutex;
    QFile m_file;
};

} // namespace kelpay::sandbox
