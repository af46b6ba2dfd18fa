#pragma once

#include "RequestCheck.h"
#include "Scenarios.h"

#include <QJsonObject>
#include <QString>

#include <mutex>
#include <optional>
#include <vector>

namespace kelpay::sandbox {

/// One scenario, for the exchanges of one side or both, whatever the numbers say.
struct Rule
{
    const Scenario *scenario = nullptr;
    Side side = Side::Both;

    /// "NAME", or "token:NAME" or "payment:NAME" where it can happen to both; a number will do for a name.
    /// std::nullopt, with the names that there are, for any other text.
    static std::optional<Rule> parse(const QString &text, QString &problem);
};

/// What decides over one answer; empty where the magic numbers do.
struct Direction
{
    const Scenario *scenario = nullptr;
    std::optional<QJsonObject> answer{}; ///< recorded, with the token by its name
    QJsonObject request{};               ///< what it was recorded for, masked
    QString deviation{};                 ///< how the request differs from the recorded one
};

/// Says what the next answer is: what a person asked for once, then what was recorded, then what holds for every
/// exchange. Any thread.
class Director
{
public:
    void setAlways(const Rule &rule);
    /// For the next exchange of the rule's side; std::nullopt takes it back.
    void setNext(const std::optional<Rule> &rule);
    std::optional<Rule> next() const;
    /// From now on answers come as they stand in the file that --record wrote. False, with the reason, where it can't
    /// be read.
    bool replay(const QString &path, QString &problem);

    /// `request` is masked.
    Direction direct(RequestKind kind, const QJsonObject &request);

private:
    Direction recorded(RequestKind kind, const QJsonObject &request);

    mutable std::mutex m_mutex;
    std::optional<Rule> m_always;
    std::optional<Rule> m_next;
    bool m_isReplaying = false;
    std::vector<QJsonObject> m_records;
    std::size_t m_position = 0;
};

} // namespace kelpay::sandbox
