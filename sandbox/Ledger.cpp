#include "Ledger.h"

#include "Masking.h"

#include <QJsonObject>

namespace kelpay::sandbox {

using namespace Qt::StringLiterals;

namespace {

constexpr const char *schema = R"(
CREATE TABLE IF NOT EXISTS tokens (
    id INTEGER PRIMARY KEY, digest TEXT NOT NULL UNIQUE, page TEXT NOT NULL UNIQUE, msisdn TEXT NOT NULL,
    merchant TEXT NOT NULL, device TEXT NOT NULL, trace INTEGER NOT NULL, code TEXT NOT NULL, amount INTEGER NOT NULL,
    title TEXT NOT NULL, merchant_name TEXT NOT NULL, reference TEXT NOT NULL, terminal_pin TEXT,
    terminal_full TEXT NOT NULL, wallet TEXT NOT NULL, saved_cards TEXT NOT NULL, payment_scenario INTEGER NOT NULL,
    paid INTEGER NOT NULL DEFAULT 0, posts INTEGER NOT NULL DEFAULT 0, issued TEXT NOT NULL DEFAULT CURRENT_TIMESTAMP);
CREATE TABLE IF NOT EXISTS payments (
    id INTEGER PRIMARY KEY, token INTEGER NOT NULL REFERENCES tokens(id), form TEXT NOT NULL, card TEXT NOT NULL,
    result INTEGER NOT NULL, tracking TEXT NOT NULL, reference TEXT NOT NULL,
    received TEXT NOT NULL DEFAULT CURRENT_TIMESTAMP);
)";

Purchase purchaseOf(const SqliteStatement &statement)
{
    Purchase purchase;
    purchase.id = statement.integer(0);
    purchase.page = statement.text(1);
    purchase.msisdn = statement.text(2);
    purchase.merchantId = statement.text(3);
    purchase.device = statement.text(4);
    purchase.trace = statement.integer(5);
    purchase.code = statement.text(6);
    purchase.amount = statement.integer(7);
    purchase.title = statement.text(8);
    purchase.merchantName = statement.text(9);
    purchase.reference = statement.text(10);
    if (!statement.isNull(11))
        purchase.terminalPin = statement.text(11);
    purchase.terminalFull = statement.text(12);
    purchase.walletBalance = statement.text(13);
    purchase.savedCards = statement.text(14);
    purchase.paymentScenario = static_cast<int>(statement.integer(15));
    purchase.paid = statement.integer(16) != 0;
    purchase.posts = static_cast<int>(statement.integer(17));
    return purchase;
}

} // namespace

Ledger::Ledger(const QString &path) : m_store(path, SqliteStore::Durability::SurvivesKill, schema) {}

std::unique_ptr<Ledger> Ledger::open(const QString &path)
{
    std::unique_ptr<Ledger> ledger(new Ledger(path));
    return ledger->m_store.run([](SqliteDatabase &) { return true; }) ? std::move(ledger) : nullptr;
}

bool Ledger::addToken(const QString &token, const Purchase &purchase)
{
    const auto add = [&](SqliteDatabase &database) {
        auto statement = database.prepare(
            "INSERT INTO tokens (digest, page, msisdn, merchant, device, code, title, merchant_name, reference, "
            "terminal_full, wallet, saved_cards, trace, amount, payment_scenario, terminal_pin) "
            "VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12, ?13, ?14, ?15, ?16)");
        int index = 0;
        for (const QString &text :
             {tokenName(token), purchase.page, purchase.msisdn, purchase.merchantId, purchase.device, purchase.code,
              purchase.title, purchase.merchantName, purchase.reference, purchase.terminalFull, purchase.walletBalance,
              purchase.savedCards})
            statement.bind(++index, text);
        statement.bind(13, purchase.trace).bind(14, purchase.amount);
        statement.bind(15, static_cast<std::int64_t>(purchase.paymentScenario));
        if (purchase.terminalPin)
            statement.bind(16, *purchase.terminalPin);
        return statement.run();
    };
    return m_store.run(add).value_or(false);
}

std::optional<Purchase> Ledger::purchaseForPayment(const QString &token)
{
    const QString digest = tokenName(token);
    m_store.run([&](SqliteDatabase &database) {
        return database.prepare("UPDATE tokens SET posts = posts + 1 WHERE digest = ?1").bind(1, digest).run();
    });
    return find(u"digest"_s, digest);
}

std::optional<Purchase> Ledger::purchaseForPage(const QString &page)
{
    return find(u"page"_s, page);
}

bool Ledger::pay(std::int64_t purchase)
{
    const auto mark = [purchase](SqliteDatabase &database) {
        return database.prepare("UPDATE tokens SET paid = 1 WHERE id = ?1 AND paid = 0").bind(1, purchase).run() &&
               database.changes() == 1;
    };
    return m_store.run(mark).value_or(false);
}

bool Ledger::addPayment(const Payment &payment)
{
    const auto add = [&](SqliteDatabase &database) {
        return database
            .prepare("INSERT INTO payments (token, form, card, result, tracking, reference) "
                     "VALUES (?1, ?2, ?3, ?4, ?5, ?6)")
            .bind(1, payment.purchase)
            .bind(2, payment.form)
            .bind(3, payment.maskedCard)
            .bind(4, static_cast<std::int64_t>(payment.resultCode))
            .bind(5, payment.trackingNumber)
            .bind(6, payment.referenceNumber)
            .run();
    };
    return m_store.run(add).value_or(false);
}

QJsonArray Ledger::latest(int count)
{
    const auto list = [count](SqliteDatabase &database) {
        QJsonArray rows;
        auto statement = database.prepare(
            "SELECT t.issued, t.merchant, t.title, t.amount, t.paid, t.posts, p.card, p.result, p.tracking "
            "FROM tokens t LEFT JOIN payments p ON p.token = t.id ORDER BY t.id DESC, p.id DESC LIMIT ?1");
        statement.bind(1, static_cast<std::int64_t>(count));
        while (statement.step() == SqliteStatement::Step::Row)
            rows.append(QJsonObject{
                {"issued"_L1, statement.text(0)},
                {"merchant"_L1, statement.text(1)},
                {"title"_L1, maskLongNumbers(statement.text(2))},
                {"amount"_L1, static_cast<qint64>(statement.integer(3))},
                {"paid"_L1, statement.integer(4) != 0},
                {"posts"_L1, static_cast<qint64>(statement.integer(5))},
                {"card"_L1, statement.text(6)},
                {"rc"_L1, statement.isNull(7) ? QJsonValue() : QJsonValue(static_cast<qint64>(statement.integer(7)))},
                {"tracking"_L1, statement.text(8)}});
        return rows;
    };
    return m_store.run(list).value_or(QJsonArray());
}

std::optional<Purchase> Ledger::find(const QString &column, const QString &value)
{
    const QByteArray sql =
        "SELECT id, page, msisdn, merchant, device, trace, code, amount, title, merchant_name, reference, "
        "terminal_pin, terminal_full, wallet, saved_cards, payment_scenario, paid, posts "
        "FROM tokens WHERE " +
        column.toLatin1() + " = ?1";
    const auto find = [&](SqliteDatabase &database) -> std::optional<Purchase> {
        auto statement = database.prepare(sql.constData());
        if (statement.bind(1, value).step() != SqliteStatement::Step::Row)
            return std::nullopt;
        return purchaseOf(statement);
    };
    return m_store.run(find).value_or(std::nullopt);
}

} // namespace kelpay::sandbox
