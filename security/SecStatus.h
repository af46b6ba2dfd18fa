#pragma once

#include <QString>

namespace kelpay {

/// The status codes that keychain and key operations give.
namespace SecStatus {
inline constexpr int Success = 0;
inline constexpr int Unimplemented = -4;
inline constexpr int Param = -50;
inline constexpr int Allocate = -108;
inline constexpr int CryptoFailed = -9809;
inline constexpr int NotAvailable = -25291;
inline constexpr int AuthFailed = -25293;
inline constexpr int DuplicateItem = -25299;
inline constexpr int ItemNotFound = -25300;
inline constexpr int InteractionNotAllowed = -25308;
inline constexpr int Decode = -26275;
} // namespace SecStatus

/// What a caller's error slot receives.
struct Error
{
    QString domain;
    int code = 0;
    QString localizedDescription;
};

} // namespace kelpay
