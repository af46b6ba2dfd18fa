#pragma once

#include "ViewController.h"

#include <QVariantMap>

namespace kelpay {

/// The screens of the SDK by identifier. Each scene registers itself with a Storyboard::Scene of static storage.
class Storyboard
{
public:
    using Factory = std::function<std::unique_ptr<ViewController>()>;

    struct Scene
    {
        Scene(const QString &identifier, const Factory &factory);
    };

    static const Storyboard &main();

    /// A new controller with `properties` set on it, on what it navigates to where it is a navigation controller; null,
    /// with a log line, for an unknown identifier.
    std::unique_ptr<ViewController> instantiateViewController(const QString &identifier,
                                                              const QVariantMap &properties = {}) const;

private:
    Storyboard() = default;
};

} // namespace kelpay
