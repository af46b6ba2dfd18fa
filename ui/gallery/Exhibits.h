#pragma once

#include "ui/components/AlertView.h"
#include "ui/components/NotificationBanner.h"
#include "ui/payment/CardForm.h"
#include "ui/payment/PickerViewDelegate.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace kelpay {

using namespace Qt::StringLiterals;

/// What the shown parts are bound to, with sample data.
class Exhibits : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the program")
    Q_PROPERTY(kelpay::CardForm *form READ form CONSTANT)
    Q_PROPERTY(kelpay::AlertView *alert READ alert CONSTANT)
    Q_PROPERTY(kelpay::NotificationBanner *banner READ banner CONSTANT)
    Q_PROPERTY(kelpay::PickerViewDelegate *cards READ cards CONSTANT)

public:
    Exhibits();

    /// Down for a few seconds.
    Q_INVOKABLE void lowerBanner() { m_banner.show(u"ورودی ها را بررسی کنید."_s); }

    CardForm *form() { return &m_form; }
    AlertView *alert() { return &m_alert; }
    NotificationBanner *banner() { return &m_banner; }
    PickerViewDelegate *cards() { return &PickerViewDelegate::sharedInstance(); }

private:
    CardForm m_form;
    AlertView m_alert;
    NotificationBanner m_banner;
};

} // namespace kelpay
