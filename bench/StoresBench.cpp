#include "bench/StoresBench.h"

#include "platform/UserDefaults.h"
#include "protocol/AttemptLedger.h"

#include <QFile>
#include <QUuid>

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <memory>

namespace kelpay::bench {

using namespace Qt::StringLiterals;

namespace {

// Two in turn: SQLite writes nothing where the row already holds the value.
const Bytes &nextValue()
{
    static const Bytes values[] = {Bytes(std::string_view("6037991234563456")),
                                   Bytes(std::string_view("6037991234560000"))};
    static std::size_t turn = 0;
    return values[++turn % 2];
}

// A row that is written again and again, by SQLite's own calls.
class BareRow
{
public:
    BareRow(const QString &path, const char *durability)
    {
        sqlite3_open(QFile::encodeName(path).constData(), &m_database);
        const bool isReady =
            sqlite3_exec(m_database, durability, nullptr, nullptr, nullptr) == SQLITE_OK &&
            sqlite3_exec(m_database,
                         "CREATE TABLE defaults(key TEXT PRIMARY KEY, type INTEGER NOT NULL, value NOT NULL) "
                         "WITHOUT ROWID",
                         nullptr, nullptr, nullptr) == SQLITE_OK &&
            sqlite3_prepare_v2(m_database,
                               "INSERT INTO defaults(key, type, value) VALUES(?1, ?2, ?3) "
                               "ON CONFLICT(key) DO UPDATE SET type = ?2, value = ?3",
                               -1, &m_statement, nullptr) == SQLITE_OK;
        if (!isReady)
            qFatal("the bench's database can't be made: %s", sqlite3_errmsg(m_database));
    }
    BareRow(const BareRow &) = delete;
    BareRow &operator=(const BareRow &) = delete;
    ~BareRow()
    {
        sqlite3_finalize(m_statement);
        sqlite3_close(m_database);
    }

    int write()
    {
        const Bytes &value = nextValue();
        sqlite3_bind_text(m_statement, 1, "crn", 3, SQLITE_STATIC);
        sqlite3_bind_int(m_statement, 2, 3);
        sqlite3_bind_blob(m_statement, 3, value.data(), static_cast<int>(value.size()), SQLITE_STATIC);
        const int status = sqlite3_step(m_statement);
        sqlite3_reset(m_statement);
        return status;
    }

private:
    sqlite3 *m_database = nullptr;
    sqlite3_stmt *m_statement = nullptr;
};

} // namespace

void registerStores(const QString &folder)
{
    auto row = std::make_shared<BareRow>(folder + u"/bare-default.sqlite"_s,
                                         "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL");
    benchmark::RegisterBenchmark("default bare", [row](benchmark::State &state) {
        for ([[maybe_unused]] auto pass : state) {
            if (row->write() != SQLITE_DONE)
                state.SkipWithError("not written");
        }
    });
    auto defaults = std::make_shared<UserDefaults>(folder + u"/one-default.sqlite"_s);
    benchmark::RegisterBenchmark("default", [defaults](benchmark::State &state) {
        for ([[maybe_unused]] auto pass : state)
            defaults->setData(u"crn"_s, nextValue());
    });

    auto synced = std::make_shared<BareRow>(folder + u"/bare-ledger.sqlite"_s,
                                            "PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL");
    benchmark::RegisterBenchmark("ledger bare", [synced](benchmark::State &state) {
        for ([[maybe_unused]] auto pass : state) {
            if (synced->write() != SQLITE_DONE || synced->write() != SQLITE_DONE)
                state.SkipWithError("not written");
        }
    });
    auto ledger = std::make_shared<AttemptLedger>(folder + u"/ledger.sqlite"_s);
    benchmark::RegisterBenchmark("ledger", [ledger](benchmark::State &state) {
        UnsettledAttempt attempt;
        attempt.additionalData = u"order 17"_s;
        for ([[maybe_unused]] auto pass : state) {
            attempt.identifier = QUuid::createUuid().toString();
            ledger->aboutToSend(attempt);
            ledger->answered(attempt.identifier, u"0"_s);
        }
    });
}

} // namespace kelpay::bench
