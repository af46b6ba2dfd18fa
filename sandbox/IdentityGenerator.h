#pragma once

#include "Identity.h"

namespace kelpay::sandbox {

/// Makes an identity in `folder` (0700, files 0600) unless a whole one of this format is there already. Returns what
/// went wrong, or std::nullopt. The certificate authorities' keys are never written, so nobody can sign more with them.
std::optional<QString> makeIdentity(const QString &folder, PfxFormat format);

} // namespace kelpay::sandbox
