#include "Attempt.h"

#include "device/HostProfile.h"
#include "platform/Dispatch.h"
#include "platform/Files.h"
#include "platform/Log.h"
#include "platform/StateFolder.h"

#include <QCryptographicHash>
#include <QUuid>

#include <cerrno>
#include <cstring>

namespace kelpay {

using namespace Qt::StringLiterals;

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
        folder && Files::makePrivateFolder(*folder + u"/payment"_s)) {
        gate = std::make_unique<Gate>(*folder + u"/payment"_s);
        if (!gate->lock.isHeld() && errno == EWOULDBLOCK)
            holder = "another process of this application is taking a payment";
        else if (!gate->lock.isHeld())
            qCWarning(logNetwork, "other processes are not kept from paying at the same time: %s",
                      std::strerror(errno));
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

bool Attempt::hasEnded() const
{
    const std::scoped_lock lock(m_mutex);
    return m_isEnded;
}

bool Attempt::isOver() const
{
    const std::scoped_lock lock(m_mutex);
    return m_isOver;
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

/// Makes a change to what is under way; when nothing is any more, the gate opens, and whoever waits for that is told.
void Attempt::change(const std::function<void()> &change)
{
    {
        const std::scoped_lock lock(m_mutex);
        change();
        if (m_isOver || !m_isEnded || m_isInFlight)
            return;
        m_isOver = true;
        m_gate.reset();
    }
    tell(Kind::Ended);
}

void Attempt::takeOff()
{
    change([this] { m_isInFlight = true; });
}

void Attempt::landed()
{
    change([this] { m_isInFlight = false; });
}

bool Attempt::end()
{
    bool isFirst = false;
    change([&] { isFirst = !std::exchange(m_isEnded, true); });
    return isFirst;
}

void Attempt::tell(Kind kind, bool isPayment, const QString &code) const
{
    HostProfile::shared().tell(
        {.kind = kind, .attempt = identifier(), .isPayment = isPayment, .mayHaveMoved = mayHaveMoved(), .code = code});
}

bool Attempt::asking(bool isPayment, const QString &merchantID)
{
    {
        const std::scoped_lock lock(m_mutex);
        m_record.merchantID = merchantID;
    }
    if (!isPayment) {
        if (!isWithdrawn()) {
            AttemptLedger::shared().begun(record());
            tell(Kind::TokenAsked);
        }
        return true;
    }
    // Written first: what the ledger calls unsent is unsent, and what it doesn't know never leaves.
    if (!AttemptLedger::shared().aboutToSend(record()))
        return false;
    Stage begun = Stage::Begun;
    if (!m_stage.compare_exchange_strong(begun, Stage::AboutToSend) && begun == Stage::Withdrawn)
        AttemptLedger::shared().withdrawn(identifier());
    return true;
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
    SilenceListener listener;
    {
        const std::scoped_lock lock(m_mutex);
        listener.swap(m_silenceListener);
    }
    // Before the observer hears of it, who may take away what the listener shows.
    if (listener)
        Dispatch::main([listener, silence] { listener(silence); });
    if (silence != Silence::Mistake)
        tell(Kind::TransportError, isPayment);
    // Without a token there is no payment: its screens have nothing to wait for.
    if (!isPayment)
        end();
}

void Attempt::screenShown()
{
    tell(Kind::ScreenShown);
}

void Attempt::submitted()
{
    takeOff();
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
    if (hasEnded())
        return;
    tell(Kind::Abandoned, mayHaveMoved());
    end();
}

} // namespace kelpay
