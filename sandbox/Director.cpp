#include "Director.h"

#include <QFile>
#include <QJsonDocument>
#include <QStringList>

#include <algorithm>

namespace kelpay::sandbox {

using namespace Qt::StringLiterals;

namespace {

bool isFor(const Rule &rule, RequestKind kind)
{
    return rule.side == Side::Both || (rule.side == Side::Token) == (kind == RequestKind::Token);
}

QString nameOf(RequestKind kind)
{
    return kind == RequestKind::Token ? u"token"_s : u"payment"_s;
}

/// What of a request has to be as it was recorded; trace numbers, times and terminals differ from run to run.
QString essence(RequestKind kind, const QJsonObject &request)
{
    const QString detail = request.value("ap"_L1).toObject().value("r"_L1).toString();
    const QStringList fields = detail.split(u'|');
    const QString what =
        kind == RequestKind::Token || fields.size() != 9 ? detail : fields[0] + u' ' + fields[2] + u' ' + fields[4];
    return u"merchant %1, mobile number %2, %3"_s.arg(request.value("mi"_L1).toString(), msisdnOf(request), what);
}

} // namespace

std::optional<Rule> Rule::parse(const QString &text, QString &problem)
{
    const bool isToken = text.startsWith("token:"_L1);
    const bool isPayment = text.startsWith("payment:"_L1);
    const QString name = isToken || isPayment ? text.section(u':', 1) : text;
    QStringList known;
    for (const Scenario &scenario : scenarios()) {
        if (name != scenarioName(scenario.number) && name != QString::number(scenario.number)) {
            known += scenarioName(scenario.number);
            continue;
        }
        const Side side = isToken ? Side::Token : isPayment ? Side::Payment : scenario.side;
        if (scenario.side == Side::Both || scenario.side == side)
            return Rule{&scenario, side};
        problem = u"%1 can't happen to a %2"_s.arg(name, isToken ? u"token"_s : u"payment"_s);
        return std::nullopt;
    }
    problem = u"there is no scenario %1; there are %2"_s.arg(name, known.join(u", "_s));
    return std::nullopt;
}

void Director::setAlways(const Rule &rule)
{
    const std::lock_guard guard(m_mutex);
    m_always = rule;
}

void Director::setNext(const std::optional<Rule> &rule)
{
    const std::lock_guard guard(m_mutex);
    m_next = rule;
}

std::optional<Rule> Director::next() const
{
    const std::lock_guard guard(m_mutex);
    return m_next;
}

bool Director::replay(const QString &path, QString &problem)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        problem = u"the recording %1 can't be read"_s.arg(path);
        return false;
    }
    int line = 0;
    while (!file.atEnd()) {
        ++line;
        const QJsonObject record = QJsonDocument::fromJson(file.readLine()).object();
        if (!record.contains("kind"_L1)) {
            problem = u"line %1 of the recording %2 is no exchange"_s.arg(line).arg(path);
            return false;
        }
        // What broke the protocol breaks it again.
        if (record.contains("answer"_L1))
            m_records.push_back(record);
    }
    m_isReplaying = true;
    return true;
}

Direction Director::direct(RequestKind kind, const QJsonObject &request)
{
    const std::lock_guard guard(m_mutex);
    if (m_next && isFor(*m_next, kind))
        return {.scenario = std::exchange(m_next, std::nullopt)->scenario};
    if (m_isReplaying)
        return recorded(kind, request);
    if (m_always && isFor(*m_always, kind))
        return {.scenario = m_always->scenario};
    return {};
}

Direction Director::recorded(RequestKind kind, const QJsonObject &request)
{
    const std::size_t expected = m_position;
    while (m_position < m_records.size() && m_records[m_position].value("kind"_L1) != nameOf(kind))
        ++m_position;
    if (m_position == m_records.size()) {
        m_position = expected;
        return {.deviation = u"the recording holds no further %1"_s.arg(nameOf(kind))};
    }
    const std::size_t skipped = m_position - expected;
    const QJsonObject record = m_records[m_position++];
    Direction direction{.scenario = &scenarioNumbered(record.value("scenario"_L1).toInt(),
                                                      kind == RequestKind::Token ? Side::Token : Side::Payment),
                        .answer = record.value("answer"_L1).toObject(),
                        .request = record.value("request"_L1).toObject()};
    const QString was = essence(kind, direction.request);
    const QString is = essence(kind, request);
    if (skipped > 0)
        direction.deviation = u"%1 recorded exchanges did not come"_s.arg(skipped);
    else if (was != is)
        direction.deviation = u"recorded: %1; came: %2"_s.arg(was, is);
    return direction;
}

} // namespace kelpay::sandbox
