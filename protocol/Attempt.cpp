#include "Attempt.h"

#include "device/HostProfile.h"
#include "platform/Dispatch.h"
#include "platform/Files.h"
#include "platform/Log.h"
#include "platform/StateFolder.h"

#include <QCryptographicHash>
#include <QUuid>

namespace kelpay {

namespace {

using Kind = PaymentEvent::Kind;

std::mutex currentMutex;
std::weak_ptr<Attempt> currentAttempt;

} // namespace

/// Keeps other processes of this application from paying; it goes with its holder, however that ends.
struct Attempt::Gate
{
    explicit Gate(const QString &folder) : lock(folder, 0) {}
    Files::FolderLock lock;
};

std::shared_ptr<Attempt> Attempt::begin(const QString &additionalData)
{
    const std::scoped_lock lock(currentMutex);
    const char *holder = nullptr;
    if (const auto running = currentAttempt.lock(); running && !running->isOver())
        holder = "a payment is under way";
    std::unique_ptr<Gate> gate;
    // Without a folder there is nothing that processes could share.
    if (const auto folder = holder ? std::nullopt : stateFolder();
        folder && Files::makePrivateFolder(*folder + QStringLiteral("/payment"))) {
        gate = std::make_unique<Gate>(*folder + QStringLiteral("/payment"));
        if (!gate->lock.isHeld())
            holder = "another process of this application is taking a payment";
    }
    if (holder) {
        qCWarning(logNetwork, "no payment is started: %s; start the next one when that is over", holder);
        HostProfile::shared().tell({.kind = Kind::Refused});
        return nullptr;
    }
    std::shared_ptr<Attempt> attempt(new Attempt(std::move(gate), additionalData));
    currentAttempt = attempt;
    attempt->tell(Kind::Started);
    return attempt;
}

std::shared_ptr<Attempt> Attempt::current()
{
    const std::scoped_lock lock(currentMutex);
    auto attempt = currentAttempt.lock();
    return attempt && !attempt->isOver() ? attempt : nullptr;
}

Attempt::Attempt(std::unique_ptr<Gate> gate, const QString &additionalData) : m_gate(std::move(gate))
{
    m_record.identifier = QUuid::createUuid().toString(QUuid::WithoutBraces);
    m_record.additionalData = additionalData;
    m_record.begun = QDateTime::currentDateTime();
}

Attempt::~Attempt() = default;

QString Attempt::identifier() const
{
    return record().identifier;
}

bool Attempt::mayHaveMoved() const
{
    const Stage stage = m_stage;
    return stage == Stage::Sent || stage == Stage::Answered;
}

bool Attempt::isOver() const
{
    const std::scoped_lock lock(m_mutex);
    return m_isEnded && !m_isInFlight;
}

UnsettledAttempt Attempt::record() const
{
    const std::scoped_lock lock(m_mutex);
    return m_record;
}

void Attempt::setPurchase(const QString &amount, const QString &token)
{
    const QByteArray hash = QCryptographicHash::hash(token.toUtf8(), QCryptographicHash::Sha256).toHex();
    const std::scoped_lock lock(m_mutex);
    m_record.amount = amount;
    m_record.tokenHash = QString::fromLatin1(hash);
}

void Attempt::setSilenceListener(SilenceListener listener)
{
    const std::scoped_lock lock(m_mutex);
    m_silenceListener.swap(listener);
}

/// Called with the lock held.
void Attempt::releaseIfOver()
{
    if (m_isEnded && !m_isInFlight)
        m_gate.reset();
}

void Attempt::landed()
{
    const std::scoped_lock lock(m_mutex);
    m_isInFlight = false;
    releaseIfOver();
}

void Attempt::end()
{
    const std::scoped_lock lock(m_mutex);
    m_isEnded = true;
    releaseIfOver();
}

void Attempt::tell(Kind kind, bool isPayment, const QString &code) const
{
    HostProfile::shared().tell(
        {.kind = kind, .attempt = identifier(), .isPayment = isPayment, .mayHaveMoved = mayHaveMoved(), .code = code});
}

void Attempt::asking(bool isPayment, const QString &merchantID)
{
    {
        const std::scoped_lock lock(m_mutex);
        m_record.merchantID = merchantID;
        m_isInFlight = true;
    }
    if (!isPayment) {
        AttemptLedger::shared().begun(record());
        tell(Kind::TokenAsked);
        return;
    }
    // Written first: what the ledger calls unsent is unsent.
    AttemptLedger::shared().aboutToSend(record());
    Stage begun = Stage::Begun;
    if (!m_stage.compare_exchange_strong(begun, Stage::AboutToSend))
        AttemptLedger::shared().withdrawn(identifier());
}

bool Attempt::leave(bool isPayment)
{
    if (!isPayment)
        return !isWithdrawn();
    Stage ready = Stage::AboutToSend;
    return m_stage.compare_exchange_strong(ready, Stage::Sent);
}

void Attempt::answered(bool isPayment, const QString &code, bool isReadable)
{
    if (isPayment && isReadable) {
        AttemptLedger::shared().answered(identifier(), code);
        m_stage = Stage::Answered;
    }
    tell(isReadable ? Kind::Answered : Kind::AnswerUnreadable, isPayment, code);
}

void Attempt::fellSilent(bool isPayment, Silence silence)
{
    if (isWithdrawn())
        return;
    if (silence == Silence::Unsent && isPayment)
        takeBack();
    if (silence != Silence::Mistake)
        tell(Kind::TransportError, isPayment);
    // Without a token there is no payment: its screens have nothing to wait for.
    if (!isPayment)
        end();
    SilenceListener listener;
    {
        const std::scoped_lock lock(m_mutex);
        listener.swap(m_silenceListener);
    }
    if (listener)
        Dispatch::main([listener, silence] { listener(silence); });
}

void Attempt::screenShown()
{
    tell(Kind::ScreenShown);
}

void Attempt::submitted()
{
    {
        const std::scoped_lock lock(m_mutex);
        m_isInFlight = true;
    }
    tell(Kind::Submitted, true);
}

/// The ledger has it as about to be sent from the moment that the stage says so, and not before: asking() sees to that.
bool Attempt::takeBack()
{
    Stage stage = m_stage;
    while (stage == Stage::Begun || stage == Stage::AboutToSend) {
        if (!m_stage.compare_exchange_weak(stage, Stage::Withdrawn))
            continue;
        if (stage == Stage::AboutToSend)
            AttemptLedger::shared().withdrawn(identifier());
        return true;
    }
    return false;
}

bool Attempt::withdraw()
{
    if (takeBack())
        tell(Kind::Withdrawn);
    return isWithdrawn();
}

void Attempt::reported(const QString &code, bool isOutcome)
{
    tell(Kind::Reported, mayHaveMoved(), code);
    if (mayHaveMoved())
        AttemptLedger::shared().reported(identifier(), code, isOutcome && m_stage == Stage::Answered);
}

void Attempt::abandoned()
{
    {
        const std::scoped_lock lock(m_mutex);
        if (std::exchange(m_isEnded, true))
            return;
        releaseIfOver();
    }
    tell(Kind::Abandoned, mayHaveMoved());
}

} // namespace kelpay
