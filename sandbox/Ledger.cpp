#include "Ledger.h"

#include "Masking.h"

#include "platform/Sqlite.h"

#include <array>
#include <string>

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

} // namespace

Ledger::Ledger(std::unique_ptr<SqliteDatabase> database) : m_database(std::move(database)) {}

Ledger::~Ledger() = default;

std::unique_ptr<Ledger> Ledger::open(const QString &path)
{
    auto database = SqliteDatabase::open(path, SqliteDatabase::Durability::SurvivesKill, schema);
    return database ? std::unique_ptr<Ledger>(new Ledger(std::move(database))) : nullptr;
}

bool Ledger::addToken(const QString &token, const Purchase &purchase)
{
    const std::lock_guard guard(m_mutex);
    auto statement = m_database->prepare(
        "INSERT INTO tokens (digest, page, msisdn, merchant, device, code, title, merchant_name, reference, "
        "terminal_full, wallet, saved_cards, trace, amount, payment_scenario, terminal_pin) "
        "VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12, ?13, ?14, ?15, ?16)");
    // Bound texts have to outlive the step.
    const std::array texts = {
        tokenName(token).toStdString(),      purchase.page.toStdString(),          purchase.msisdn.toStdString(),
        purchase.merchantId.toStdString(),   purchase.device.toStdString(),        purchase.code.toStdString(),
        purchase.title.toStdString(),        purchase.merchantName.toStdString(),  purchase.reference.toStdString(),
        purchase.terminalFull.toStdString(), purchase.walletBalance.toStdString(), purchase.savedCards.toStdString(),
    };
    int index = 0;
    for (const std::string &text : texts)
        statement.bind(++index, text);
    statement.bind(13, purchase.trace).bind(14, purchase.amount);
    statement.bind(15, static_cast<std::int64_t>(purchase.paymentScenario));
    const std::string terminalPin = purchase.terminalPin.value_or(QString()).toStdString();
    if (purchase.terminalPin)
        statement.bind(16, terminalPin);
    const bool written = statement.run();
    if (!written)
        m_database->noteFailure("written");
    return written;
}

std::optional<Purchase> Ledger::purchaseForPayment(const QString &token)
{
    const std::lock_guard guard(m_mutex);
    const QString digest = tokenName(token);
    const std::string text = digest.toStdString();
    m_database->prepare("UPDATE tokens SET posts = posts + 1 WHERE digest = ?1").bind(1, text).run();
    return find("digest", digest);
}

std::optional<Purchase> Ledger::purchaseForPage(const QString &page)
{
    const std::lock_guard guard(m_mutex);
    return find("page", page);
}

bool Ledger::pay(std::int64_t purchase)
{
    const std::lock_guard guard(m_mutex);
    return m_database->prepare("UPDATE tokens SET paid = 1 WHERE id = ?1 AND paid = 0").bind(1, purchase).run() &&
           m_database->changes() == 1;
}

bool Ledger::addPayment(const Payment &payment)
{
    const std::lock_guard guard(m_mutex);
    const std::string form = payment.form.toStdString();
    const std::string card = payment.maskedCard.toStdString();
    const std::string tracking = payment.trackingNumber.toStdString();
    const std::string reference = payment.referenceNumber.toStdString();
    return m_database
        ->prepare(
            "INSERT INTO payments (token, form, card, result, tracking, reference) VALUES (?1, ?2, ?3, ?4, ?5, ?6)")
        .bind(1, payment.purchase)
        .bind(2, form)
        .bind(3, card)
        .bind(4, static_cast<std::int64_t>(payment.resultCode))
        .bind(5, tracking)
        .bind(6, reference)
        .run();
}

std::optional<Purchase> Ledger::find(const char *column, const QString &value)
{
    const std::string sql =
        "SELECT id, page, msisdn, merchant, device, trace, code, amount, title, merchant_name, reference, "
        "terminal_pin, terminal_full, wallet, saved_cards, payment_scenario, paid, posts "
        "FROM tokens WHERE " +
        std::string(column) + " = ?1";
    auto statement = m_database->prepare(sql.c_str());
    const std::string text = value.toStdString();
    if (statement.bind(1, text).step() != SqliteStatement::Step::Row)
        return std::nullopt;
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

} // namespace kelpay::sandbox
