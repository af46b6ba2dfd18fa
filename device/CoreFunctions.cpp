#include "CoreFunctions.h"

#include "HostProfile.h"
#include "IntegrityCheck.h"
#include "LocationManager.h"
#include "Reachability.h"
#include "device/cards/Bank.h"
#include "device/cards/CardNumber.h"
#include "device/cards/CardRules.h"
#include "platform/Deployment.h"
#include "platform/Formats.h"
#include "platform/Log.h"
#include "platform/ScreenPresenter.h"
#include "platform/SystemFacts.h"
#include "platform/UrlSession.h"
#include "platform/UserDefaults.h"
#include "security/keychain/CoreKeychain.h"

#include <QDateTime>
#include <QRandomGenerator>

namespace kelpay {

using namespace Qt::StringLiterals;

CoreFunctions::CoreFunctions(UserDefaults &defaults, CoreKeychain keychain)
    : m_defaults(defaults), m_keychain(std::move(keychain))
{}

QString CoreFunctions::versionString() const
{
    QString versions = SystemFacts::hostVersion() + u';' + Deployment::sdkVersion();
    return versions.remove(u'.');
}

QString CoreFunctions::localUserDate() const
{
    return Formats::localDate(QDateTime::currentDateTime(), u"yyyy-MM-dd hh:mm:ss"_s);
}

std::optional<QString> CoreFunctions::ipAddress() const
{
    const UrlResult result = UrlSession::publicContents(Deployment::ipEchoUrl());
    if (const auto *error = std::get_if<TransportError>(&result)) {
        qCWarning(logDevice, "the public address is unknown: %s", qUtf8Printable(error->localizedDescription));
        return std::nullopt;
    }
    const auto &response = std::get<UrlResponse>(result);
    if (response.status < 200 || response.status > 299) {
        qCWarning(logDevice, "the public address is unknown: its service answered HTTP %d", response.status);
        return std::nullopt;
    }
    const QString address = QString::fromUtf8(response.body);
    if (std::any_of(address.begin(), address.end(),
                    [](QChar c) { return c == u';' || c.category() == QChar::Other_Control; }))
        qCWarning(logDevice,
                  "the address that the echo tells holds a \";\" or a control character; it is sent as it is");
    return address;
}

void CoreFunctions::returnThings() const
{
    if (m_keychain.stringForKey(u"uuid"_s)) {
        m_defaults.increment(u"trace"_s);
        return;
    }
    const int first = intInRangeMinimum(100, 800);
    m_keychain.setString(SystemFacts::vendorIdentifier(), u"uuid"_s);
    m_defaults.setInteger(u"trace"_s, first);
    m_defaults.remove(u"ard"_s);
}

QString CoreFunctions::bundleID() const
{
    const HostProfile &profile = HostProfile::shared();
    if (!profile.bid().isEmpty())
        return u""_s;
    return profile.ziaprod() ? u"com.dorinepay.724"_s : SystemFacts::hostIdentifier();
}

QString CoreFunctions::deviceData() const
{
    return u"APPL|"_s + hardwareString() + u'|' + SystemFacts::systemVersion() + u'|' + SystemFacts::deviceName() +
           u'|' + SystemFacts::localizedModel();
}

QString CoreFunctions::hardwareString() const
{
    return SystemFacts::hardwareModel();
}

QString CoreFunctions::vulnerabilities() const
{
    return IntegrityCheck::verdict();
}

std::optional<QString> CoreFunctions::merchantID() const
{
    return m_keychain.stringForKey(u"mid"_s);
}

int CoreFunctions::intInRangeMinimum(int minimum, int maximum) const
{
    if (minimum > maximum)
        return -1;
    const auto count = static_cast<quint32>(maximum) - static_cast<quint32>(minimum) + 1;
    const quint32 random = QRandomGenerator::system()->generate();
    return static_cast<int>((count == 0 ? random : random % count) + static_cast<quint32>(minimum));
}

void CoreFunctions::startNotifiers()
{
    m_internetReachability = Reachability::reachabilityWithHostName(Deployment::reachabilityHost());
    m_internetReachability->startNotifier();
}

std::shared_ptr<Reachability> CoreFunctions::internetReachability() const
{
    return m_internetReachability;
}

bool CoreFunctions::internetConnection() const
{
    return m_internetReachability && m_internetReachability->currentReachabilityStatus() != Reachability::NotReachable;
}

void CoreFunctions::returnUserLocation(LocationCallback locationCallback)
{
    m_manager = std::make_shared<LocationManager>(std::move(locationCallback));
    m_manager->startUpdatingLocation();
}

CoreFunctions::LocationCallback CoreFunctions::locationCallback() const
{
    return m_manager ? m_manager->callback() : nullptr;
}

std::shared_ptr<LocationManager> CoreFunctions::manager() const
{
    return m_manager;
}

void CoreFunctions::showPaymentView() const
{
    ScreenPresenter::present(u"PaymentView"_s);
}

void CoreFunctions::parseTokenBody(const QJsonValue &body) const
{
    m_defaults.setData(u"tkn"_s, BaseClass::modelObject(body).archived());
}

void CoreFunctions::parsePaymentBody(const QJsonValue &body) const
{
    m_defaults.setData(u"pym"_s, BaseClassp::modelObject(body).archived());
}

std::optional<BaseClass> CoreFunctions::storedTokenAnswer() const
{
    const auto archive = m_defaults.data(u"tkn"_s);
    return archive ? BaseClass::unarchived(*archive) : std::nullopt;
}

std::optional<BaseClassp> CoreFunctions::storedPaymentAnswer() const
{
    const auto archive = m_defaults.data(u"pym"_s);
    return archive ? BaseClassp::unarchived(*archive) : std::nullopt;
}

QString CoreFunctions::bankNameForCardNumber(const QString &cardNumber) const
{
    return Bank::issuerOf(cardNumber).name;
}

bool CoreFunctions::isValidCardNumber(const QString &cardNumber) const
{
    return CardNumber::isValid(cardNumber);
}

bool CoreFunctions::isValidPhoneNumber(const QString &number) const
{
    return number.startsWith("09"_L1) && number.size() == 11;
}

QString CoreFunctions::blackListReturnerFor(const QString &cardNumber, const QString &rules) const
{
    return CardRules(rules).codes(cardNumber);
}

QString CoreFunctions::policyForCode5On(const QString &cardNumber, const QString &rules) const
{
    return CardRules(rules).policy(u"5", cardNumber);
}

QString CoreFunctions::policyForCode59On(const QString &cardNumber, const QString &rules) const
{
    return CardRules(rules).policy(u"59", cardNumber);
}

QString CoreFunctions::isSimple(const QString &rules, const QString &userValues) const
{
    const QStringList values = userValues.split(u';');
    switch (CardRules(rules).verdict(values[0], values.value(1))) {
    case Verdict::Simple:
        return u"JA"_s;
    case Verdict::Full:
        return u"NO"_s;
    case Verdict::Refused:
        break;
    }
    return u"NA"_s;
}

} // namespace kelpay
