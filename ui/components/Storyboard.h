#pragma once

#include "ViewController.h"

#include <QVariant>

namespace kelpay {

/// The screens of the SDK by identifier. Each scene registers itself with a Storyboard::Scene of static storage.
class Storyboard
{
public:
    using Factory = std::function<std::unique_ptr<ViewController>(const QVariant &input)>;

    struct Scene
    {
        Scene(const QString &identifier, const Factory &factory);
    };

    static const Storyboard &main();

    /// A new controller, made from `input`, whose type is the scene's own; null, with a log line, for an unknown
    /// identifier.
    std::unique_ptr<ViewController> instantiateViewController(const QString &identifier,
                                                              const QVariant &input = {}) const;

private:
    Storyboard() = default;
};

} // namespace kelpay
