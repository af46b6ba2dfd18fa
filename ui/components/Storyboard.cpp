#include "Storyboard.h"

#include "NavigationController.h"
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
                                                                      const QVariantMap &properties) const
{
    const Factory factory = scenes().value(identifier);
    if (!factory) {
        qCWarning(logScreen, "the storyboard has no scene %ls", qUtf16Printable(identifier));
        return nullptr;
    }
    std::unique_ptr<ViewController> controller = factory();
    auto *navigation = qobject_cast<NavigationController *>(controller.get());
    QObject *target = navigation ? navigation->topViewController() : controller.get();
    for (auto property = properties.begin(); property != properties.end(); ++property)
        target->setProperty(property.key().toLatin1().constData(), property.value());
    return controller;
}

} // namespace kelpay
