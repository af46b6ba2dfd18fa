#include "Storyboard.h"

#include "platform/Log.h"

#include <QHash>

namespace kelpay {

namespace {

QHash<QString, Storyboard::Factory> &scenes()
{
    static QHash<QString, Storyboard::Factory> registered;
    return registered;
}

} // namespace

Storyboard::Scene::Scene(const QString &identifier, const Factory &factory)
{
    scenes().insert(identifier, factory);
}

const Storyboard &Storyboard::main()
{
    static const Storyboard storyboard;
    return storyboard;
}

std::unique_ptr<ViewController> Storyboard::instantiateViewController(const QString &identifier,
                                                                      const QVariant &input) const
{
    const Factory factory = scenes().value(identifier);
    if (!factory) {
        qCWarning(logScreen, "the storyboard has no scene %ls", qUtf16Printable(identifier));
        return nullptr;
    }
    return factory(input);
}

} // namespace kelpay
