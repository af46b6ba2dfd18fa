#include "AttemptLedger.h"

#include "platform/StateFolder.h"

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

// Times are milliseconds since 1970.
constexpr const char *schema =
    "CREATE TABLE IF NOT EXISTS attempts(identifier TEXT PRIMARY KEY, merchant TEXT NOT NULL, additional TEXT NOT NULL,"
    "amount TEXT NOT NULL, token TEXT NOT NULL, begun INTEGER NOT NULL, sent INTEGER, answered INTEGER,"
    "code TEXT NOT NULL DEFAULT '', reported TEXT NOT NULL DEFAULT '', settled INTEGER) WITHOUT ROWID";
constexpr const char *insertBegun =
    "INSERT OR IGNORE INTO attempts(identifier, merchant, additional, amount, token, begun) "
    "VALUES(?1, ?2, ?3, ?4, ?5, CAST(?6 AS INTEGER))";
constexpr const char *insertSent =
    "INSERT INTO attempts(identifier, merchant, additional, amount, token, begun, sent) "
    "VALUES(?1, ?2, ?3, ?4, ?5, CAST(?6 AS INTEGER), CAST(?7 AS INTEGER)) ON CONFLICT(identifier) "
    "DO UPDATE SET merchant = ?2, amount = ?4, token = ?5, sent = CAST(?7 AS INTEGER)";
constexpr const char *updateAnswered =
    "UPDATE attempts SET answered = CAST(?2 AS INTEGER), code = ?3 WHERE identifier = ?1";
constexpr const char *updateReported = "UPDATE attempts SET reported = ?2 WHERE identifier = ?1";
constexpr const char *updateSettled =
    "UPDATE attempts SET settled = CAST(?2 AS INTEGER), reported = ?3 WHERE identifier = ?1";
constexpr const char *updateUnsent = "UPDATE attempts SET sent = NULL WHERE identifier = ?1 AND sent IS NOT NULL";
constexpr const char *settleListed = "UPDATE attempts SET settled = CAST(?2 AS INTEGER) "
                                     "WHERE identifier = ?1 AND sent IS NOT NULL AND settled IS NULL";
// What is settled, or never left, is of no use for long.
constexpr const char *forget = "DELETE FROM attempts WHERE begun < CAST(?1 AS INTEGER) "
                               "AND (sent IS NULL OR settled IS NOT NULL)";
constexpr const char *selectUnsettled =
    "SELECT identifier, merchant, additional, amount, token, begun, sent, answered, code, reported FROM attempts "
    "WHERE sent IS NOT NULL AND settled IS NULL ORDER BY begun";

constexpr int daysKept = 90;

QString now()
{
    return QString::number(QDateTime::currentMSecsSinceEpoch());
}

std::vector<QString> textsOf(const UnsettledAttempt &attempt)
{
    return {attempt.identifier, attempt.merchantID, attempt.additionalData,
            attempt.amount,     attempt.tokenHash,  QString::number(attempt.begun.toMSecsSinceEpoch())};
}

QDateTime time(const SqliteStatement &row, int column)
{
    return row.isNull(column) ? QDateTime() : QDateTime::fromMSecsSinceEpoch(row.integer(column));
}

QString ledgerPath()
{
    const auto folder = stateFolder();
    return folder ? *folder + u"/attempts.sqlite"_s : QString();
}

} // namespace

AttemptLedger &AttemptLedger::shared()
{
    static auto *const ledger = new AttemptLedger(ledgerPath());
    return *ledger;
}

AttemptLedger::AttemptLedger(const QString &path) : m_store(path, SqliteStore::Durability::SurvivesPowerLoss, schema) {}

bool AttemptLedger::write(const char *sql, const std::vector<QString> &texts)
{
    if (m_store.path().isEmpty())
        return false;
    return m_store
        .run([&](SqliteDatabase &database) {
            auto statement = database.prepare(sql);
            int place = 0;
            for (const QString &text : texts)
                statement.bind(++place, text);
            return statement.run() && database.changes() > 0;
        })
        .value_or(false);
}

void AttemptLedger::forgetOld()
{
    write(forget, {QString::number(QDateTime::currentDateTime().addDays(-daysKept).toMSecsSinceEpoch())});
}

void AttemptLedger::begun(const UnsettledAttempt &attempt)
{
    // Once a day: a host may never ask for the list.
    const qint64 today = QDate::currentDate().toJulianDay();
    if (m_forgotten.exchange(today) != today)
        forgetOld();
    write(insertBegun, textsOf(attempt));
}

bool AttemptLedger::aboutToSend(const UnsettledAttempt &attempt)
{
    auto texts = textsOf(attempt);
    texts.push_back(now());
    return write(insertSent, texts);
}

void AttemptLedger::answered(const QString &identifier, const QString &code)
{
    write(updateAnswered, {identifier, now(), code});
}

void AttemptLedger::reported(const QString &identifier, const QString &code, bool isSettled)
{
    if (isSettled)
        write(updateSettled, {identifier, now(), code});
    else
        write(updateReported, {identifier, code});
}

void AttemptLedger::withdrawn(const QString &identifier)
{
    write(updateUnsent, {identifier});
}

std::vector<UnsettledAttempt> AttemptLedger::unsettled()
{
    if (m_store.path().isEmpty())
        return {};
    forgetOld();
    return m_store
        .run([](SqliteDatabase &database) {
            std::vector<UnsettledAttempt> attempts;
            auto row = database.prepare(selectUnsettled);
            while (row.step() == SqliteStatement::Step::Row)
                attempts.push_back({row.text(0), row.text(1), row.text(2), row.text(3), row.text(4), time(row, 5),
                                    time(row, 6), time(row, 7), row.text(8), row.text(9)});
            return attempts;
        })
        .value_or(std::vector<UnsettledAttempt>());
}

bool AttemptLedger::settle(const QString &identifier)
{
    return write(settleListed, {identifier, now()});
}

} // namespace kelpay
