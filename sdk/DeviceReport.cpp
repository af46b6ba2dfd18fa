#include "DeviceReport.h"

#include "device/CoreBiometrics.h"
#include "device/IntegrityCheck.h"
#include "device/Reachability.h"
#include "platform/Dispatch.h"
#include "platform/UserDefaults.h"
#include "security/keychain/CoreKeychain.h"

#include <QPointer>

#include <algorithm>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

const QString onItsWay = u"…"_s;

QString text(bool answer)
{
    return answer ? u"YES"_s : u"NO"_s;
}

QString text(const QString &value)
{
    return value;
}

QString text(const std::optional<QString> &value)
{
    return value.value_or(u"(null)"_s);
}

} // namespace

DeviceReport::DeviceReport(QObject *parent) : QObject(parent)
{
    addFacts();
    askSlowFacts();
    follow();
}

void DeviceReport::addFacts()
{
    add("versionString", m_functions.versionString());
    add("localUserDate", m_functions.localUserDate());
    add("ipAddress", onItsWay);
    add("bundleID", m_functions.bundleID());
    add("hardwareString", m_functions.hardwareString());
    add("deviceData", m_functions.deviceData());
    add("uuid", text(CoreKeychain().stringForKey(u"uuid"_s)));
    add("trace", text(UserDefaults::standard().string(u"trace"_s)));
    add("merchantID", text(m_functions.merchantID()));
    add("vulnerabilities", onItsWay);
    add("isSimulator", text(IntegrityCheck::isSimulator()));
    add("internetConnection", onItsWay);
    add("currentReachabilityString", onItsWay);
    add("returnUserLocation", onItsWay);
    add("getDeviceType", QString::number(CoreBiometrics::getDeviceType()));
    add("supportFaceID", text(CoreBiometrics::supportFaceID()));
    add("isBiometricIDAvailable", onItsWay);
    add("isTouchIDAvailable", onItsWay);
    add("isFaceIDAvailable", onItsWay);
}

void DeviceReport::askSlowFacts()
{
    const auto ask = [self = QPointer(this)](const char *name, auto fact) {
        Dispatch::global(Dispatch::Priority::High, [self, name, fact] {
            Dispatch::main([self, name, value = text(fact())] {
                if (self)
                    self->set(name, value);
            });
        });
    };
    ask("ipAddress", [] { return CoreFunctions().ipAddress(); });
    ask("vulnerabilities", [] { return CoreFunctions().vulnerabilities(); });
    ask("isBiometricIDAvailable", CoreBiometrics::isBiometricIDAvailable);
    ask("isTouchIDAvailable", CoreBiometrics::isTouchIDAvailable);
    ask("isFaceIDAvailable", CoreBiometrics::isFaceIDAvailable);
}

void DeviceReport::follow()
{
    m_functions.returnUserLocation([this](const QString &location) { set("returnUserLocation", location); });
    m_functions.startNotifiers();
    const auto showReachability = [this] {
        set("internetConnection", text(m_functions.internetConnection()));
        set("currentReachabilityString", m_functions.internetReachability()->currentReachabilityString());
    };
    connect(m_functions.internetReachability().get(), &Reachability::changed, this, showReachability);
    showReachability();
}

void DeviceReport::add(const char *name, const QString &value)
{
    m_facts.push_back({QString::fromLatin1(name), value});
}

void DeviceReport::set(const char *name, const QString &value)
{
    const auto fact = std::find_if(m_facts.begin(), m_facts.end(),
                                   [&](const Fact &known) { return known.name == QLatin1StringView(name); });
    fact->value = value;
    Q_EMIT changed();
}

QStringList DeviceReport::names() const
{
    QStringList names;
    for (const Fact &fact : m_facts)
        names << fact.name;
    return names;
}

QStringList DeviceReport::values() const
{
    QStringList values;
    for (const Fact &fact : m_facts)
        values << fact.value;
    return values;
}

bool DeviceReport::isComplete() const
{
    return std::none_of(m_facts.begin(), m_facts.end(), [](const Fact &fact) { return fact.value == onItsWay; });
}

void DeviceReport::showPaymentView() const
{
    m_functions.showPaymentView();
}

} // namespace kelpay
