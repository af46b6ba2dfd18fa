#pragma once

#include "platform/UserDefaults.h"
#include "records/BaseClass.h"
#include "records/BaseClassp.h"
#include "security/keychain/CoreKeychain.h"

#include <QJsonValue>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace kelpay {

class LocationManager;
class Reachability;

/// Facts of the host, the device and the session, and the rules about cards. Holds nothing between uses but what it
/// writes to the keychain and the user defaults, and the two monitors that are started below; make one where it is
/// needed. Any thread, except where noted. What a request asks can be answered otherwise by a derived class.
class CoreFunctions
{
public:
    using LocationCallback = std::function<void(const QString &)>;

    /// Keeps its values in the host's defaults and keychain, or in those that are given.
    explicit CoreFunctions(UserDefaults &defaults = UserDefaults::standard(), CoreKeychain keychain = {});
    virtual ~CoreFunctions() = default;
    CoreFunctions(const CoreFunctions &) = default;
    CoreFunctions &operator=(const CoreFunctions &) = delete;

    /// Host version, ";", SDK version, each without its dots: "210;14".
    virtual QString versionString() const;
    /// Local time as "yyyy-MM-dd hh:mm:ss" in the device's locale; hh is the 12-hour clock without a marker.
    virtual QString localUserDate() const;
    /// The public address as the IP-echo service tells it, untrimmed, 256 bytes at most; std::nullopt on any failure.
    /// Blocks, up to 60 s.
    virtual std::optional<QString> ipAddress() const;
    /// Moves the install's trace counter on: the first time it stores "uuid", draws "trace" and forgets "ard"; later it
    /// adds one to "trace".
    void returnThings() const;
    /// "" when the host set `bid`, a wallet application's identifier when it set `ziaprod`, else the host's identifier.
    virtual QString bundleID() const;
    /// "APPL|hardware|system version|device name|localised model", unescaped.
    virtual QString deviceData() const;
    QString hardwareString() const;
    /// The integrity check's verdict, "" when nothing is found.
    virtual QString vulnerabilities() const;
    /// Keychain "mid".
    std::optional<QString> merchantID() const;
    /// Uniform in minimum..maximum, both included; -1 when minimum > maximum.
    int intInRangeMinimum(int minimum, int maximum) const;

    /// Store the answer's record under user defaults "tkn" and "pym". A body that is no object gives an empty record.
    void parseTokenBody(const QJsonValue &body) const;
    void parsePaymentBody(const QJsonValue &body) const;
    /// The stored records; std::nullopt when there is none or it is damaged.
    std::optional<BaseClass> storedTokenAnswer() const;
    std::optional<BaseClassp> storedPaymentAnswer() const;

    // Main queue. What these start runs until this object and its copies are gone.
    /// Begins to watch the way to the deployment's probe host.
    void startNotifiers();
    /// The monitor that `startNotifiers` started, for its `changed` signal; null before.
    std::shared_ptr<Reachability> internetReachability() const;
    /// True when the watched host is reachable, over the mobile network or Wi-Fi; false before `startNotifiers`.
    bool internetConnection() const;
    /// Calls back from the event loop with "latitude,longitude" on every update, "0.0,0.0" on failure. A second call
    /// replaces the first.
    void returnUserLocation(LocationCallback locationCallback);
    /// What `returnUserLocation` was given and what it started; null before.
    LocationCallback locationCallback() const;
    std::shared_ptr<LocationManager> manager() const;
    /// Presents the payment screen over the top-most one.
    void showPaymentView() const;

    // The rules about cards, which device/cards/ holds; its range errors come from here too.
    /// The issuing bank's Persian name by the first six digits; "" for an unknown one.
    QString bankNameForCardNumber(const QString &cardNumber) const;
    /// The check digit rule over the first 16 digits. Throws std::out_of_range for fewer than 16 characters.
    bool isValidCardNumber(const QString &cardNumber) const;
    /// Begins with "09" and has 11 characters.
    bool isValidPhoneNumber(const QString &number) const;
    /// The codes of all matching entries, each followed by "|". This and the next three throw std::out_of_range for a
    /// rule string without "|" and for a matching entry with too few fields.
    QString blackListReturnerFor(const QString &cardNumber, const QString &rules) const;
    /// "lower;upper" of each matching entry of code "5", with nothing between two entries; then the same for code "59".
    QString policyForCode5On(const QString &cardNumber, const QString &rules) const;
    QString policyForCode59On(const QString &cardNumber, const QString &rules) const;
    /// "JA" (PIN only), "NO" (full form) or "NA" (not allowed) for `userValues`, "card number;amount".
    QString isSimple(const QString &rules, const QString &userValues) const;

private:
    UserDefaults &m_defaults;
    CoreKeychain m_keychain;
    std::shared_ptr<LocationManager> m_manager;
    std::shared_ptr<Reachability> m_internetReachability;
};

} // namespace kelpay
