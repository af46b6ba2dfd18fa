#pragma once

#include <QFile>
#include <QJsonObject>
#include <QString>

#include <functional>
#include <mutex>
#include <vector>

namespace kelpay::sandbox {

/// One compact JSON object a line and exchange. A line is on disk before its answer is sent. Any thread.
class Journal
{
public:
    /// Appends to the file at `path`, private to its owner. "" keeps no journal. False where it can't be opened.
    bool open(const QString &path);
    /// Stamps the entry with the time and hands it, and the plain answer, masked, to who listens. Gives the entry back.
    QJsonObject add(QJsonObject entry, const QJsonObject &answer = {});

    using Listener = std::function<void(const QJsonObject &entry, const QJsonObject &answer)>;
    /// To be called before the service starts. Listeners hear one entry after the other, on any thread.
    void addListener(Listener listener) { m_listeners.push_back(std::move(listener)); }

private:
    std::mutex m_mutex;
    QFile m_file;
    std::vector<Listener> m_listeners;
};

} // namespace kelpay::sandbox
