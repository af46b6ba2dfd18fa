#include "ScreenEngine.h"

#include "Appearance.h"
#include "BundleImages.h"
#include "Fonts.h"
#include "platform/Log.h"

#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>

#include <algorithm>
#include <memory>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

QQmlEngine *sharedEngine = nullptr;

void deleteEngine()
{
    delete std::exchange(sharedEngine, nullptr);
}

} // namespace

bool ScreenEngine::hasDisplay()
{
    return qobject_cast<QGuiApplication *>(QCoreApplication::instance()) != nullptr;
}

QQmlEngine &ScreenEngine::shared()
{
    if (!sharedEngine) {
        // Post routines run last in, first out: the engine goes before what its screens are bound to.
        Appearance::shared();
        sharedEngine = new QQmlEngine;
        sharedEngine->addImportPath(u"qrc:/qt/qml"_s);
        sharedEngine->addImageProvider(BundleImages::id(), new BundleImages);
        qAddPostRoutine(deleteEngine);
        Fonts::readList();
        for (const auto *file : {"ProgressPanel", "Stage", "ScreenFrame"})
            loadAhead(QUrl(u"qrc:/qt/qml/KelPay/Components/%1.qml"_s.arg(QLatin1StringView(file))));
    }
    return *sharedEngine;
}

void ScreenEngine::loadAhead(const QUrl &file)
{
    const auto ahead = shared().findChildren<QQmlComponent *>(Qt::FindDirectChildrenOnly);
    const bool isKnown =
        std::any_of(ahead.begin(), ahead.end(), [&](const QQmlComponent *known) { return known->url() == file; });
    if (!isKnown)
        new QQmlComponent(&shared(), file, QQmlComponent::Asynchronous, &shared());
}

bool ScreenEngine::isLoadingAhead()
{
    const auto ahead = shared().findChildren<QQmlComponent *>(Qt::FindDirectChildrenOnly);
    return std::any_of(ahead.begin(), ahead.end(), [](const QQmlComponent *file) { return file->isLoading(); });
}

QObject *ScreenEngine::create(const QUrl &file, const QVariantMap &properties)
{
    if (!hasDisplay())
        return nullptr;
    QQmlComponent component(&shared(), file);
    std::unique_ptr<QObject> object(component.isReady() ? component.createWithInitialProperties(properties) : nullptr);
    if (component.isError()) {
        qCCritical(logScreen, "a screen can't be made: %ls", qUtf16Printable(component.errorString()));
        return nullptr;
    }
    if (object)
        QQmlEngine::setObjectOwnership(object.get(), QQmlEngine::CppOwnership);
    return object.release();
}

QQuickItem *ScreenEngine::createItem(const QUrl &file, const QVariantMap &properties)
{
    return qobject_cast<QQuickItem *>(create(file, properties));
}

} // namespace kelpay
