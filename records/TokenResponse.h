#pragma once

#include <QString>

namespace kelpay {

/// A token answer's values under spoken names; declared for hosts that keep their own copy, filled by nothing here.
struct TokenResponse
{
    QString panList;
    QString blackList;
    QString token;
    QString verifyURL;
    QString merchantName;
    QString mobileTerminal;
    QString internetTerminal;
    QString referenceNumber;
    QString amount;
    QString title;
    QString additionalAppID;
    qint64 traceID = 0;
    bool securityMode = false;
};

} // namespace kelpay
