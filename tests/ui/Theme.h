#pragma once

#include "ui/components/ScreenEngine.h"

#include <QQmlComponent>

#include <memory>

namespace kelpay {

/// The singleton of the screens' QML; null where it can't be made.
inline QObject *theme()
{
    QQmlComponent component(&ScreenEngine::shared());
    component.setData("import QtQml\nimport KelPay.Components\nQtObject { property QtObject theme: Theme }", {});
    const std::unique_ptr<QObject> holder(component.create());
    return holder ? holder->property("theme").value<QObject *>() : nullptr;
}

} // namespace kelpay
