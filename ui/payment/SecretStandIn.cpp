#include "SecretStandIn.h"

#include <QAccessible>
#include <QAccessibleObject>
#include <QCoreApplication>
#include <QInputMethodEvent>
#include <QQuickWindow>

namespace kelpay {

namespace {

class Interface : public QAccessibleObject, public QAccessibleActionInterface
{
public:
    explicit Interface(SecretStandIn *item) : QAccessibleObject(item) {}

    QAccessible::Role role() const override { return QAccessible::EditableText; }
    QAccessible::State state() const override
    {
        QAccessible::State state;
        state.passwordEdit = true;
        state.editable = true;
        state.focusable = true;
        state.focused = field() && field()->hasActiveFocus();
        state.disabled = !item()->isEnabled();
        state.invisible = !item()->isVisible() || !window();
        return state;
    }
    QString text(QAccessible::Text kind) const override
    {
        return kind == QAccessible::Name          ? item()->label
               : kind == QAccessible::Description ? item()->complaint
                                                  : QString();
    }
    void setText(QAccessible::Text kind, const QString &text) override
    {
        if (kind != QAccessible::Value || !field() || !item()->isEnabled())
            return;
        QMetaObject::invokeMethod(field(), "selectAll");
        QInputMethodEvent typed;
        typed.setCommitString(text);
        QCoreApplication::sendEvent(field(), &typed);
    }

    QAccessibleInterface *parent() const override
    {
        const QQuickItem *root = item()->window() ? item()->window()->contentItem() : nullptr;
        for (QQuickItem *up = item()->parentItem(); up && up != root; up = up->parentItem()) {
            if (QAccessibleInterface *found = QAccessible::queryAccessibleInterface(up))
                return found;
        }
        return QAccessible::queryAccessibleInterface(window());
    }
    QAccessibleInterface *child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface *) const override { return -1; }
    QWindow *window() const override { return item()->window(); }
    QRect rect() const override
    {
        const QRect place = item()->mapRectToScene(QRectF({}, item()->size())).toAlignedRect();
        return window() ? QRect(window()->mapToGlobal(place.topLeft()), place.size()) : QRect();
    }

    void *interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface *>(this) : nullptr;
    }
    QStringList actionNames() const override { return {setFocusAction()}; }
    void doAction(const QString &action) override
    {
        if (action == setFocusAction() && field() && item()->isEnabled())
            field()->forceActiveFocus();
    }
    QStringList keyBindingsForAction(const QString &) const override { return {}; }

private:
    SecretStandIn *item() const { return static_cast<SecretStandIn *>(object()); }
    QQuickItem *field() const { return item()->field(); }
};

QAccessibleInterface *make(const QString &, QObject *object)
{
    auto *item = qobject_cast<SecretStandIn *>(object);
    return item ? new Interface(item) : nullptr;
}

} // namespace

SecretStandIn::SecretStandIn(QQuickItem *parent) : QQuickItem(parent)
{
    static const bool isInstalled = (QAccessible::installFactory(make), true);
    Q_UNUSED(isInstalled)
}

void SecretStandIn::setField(QQuickItem *field)
{
    m_field = field;
    const auto tell = [this] {
        if (!isVisible() || !m_field->hasActiveFocus())
            return;
        QAccessibleEvent event(this, QAccessible::Focus);
        QAccessible::updateAccessibility(&event);
    };
    connect(m_field, &QQuickItem::activeFocusChanged, this, tell);
}

} // namespace kelpay
