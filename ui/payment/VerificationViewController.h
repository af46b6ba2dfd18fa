#pragma once

#include "ui/components/ViewController.h"

namespace kelpay {

/// Shows the page where the service vouches for the merchant.
class VerificationViewController : public ViewController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the payment screen")
    Q_PROPERTY(QUrl url READ url CONSTANT)
    Q_PROPERTY(bool canLoad READ canLoad CONSTANT)

public:
    explicit VerificationViewController(const QUrl &url, QObject *parent = nullptr);

    QString title() const override { return QStringLiteral("تایید پذیرنده"); }
    QString barButtonText() const override { return QStringLiteral("بازگشت"); }
    QString barButtonName() const override { return QStringLiteral("backButton"); }
    void barButtonPressed() override { dismiss(true); }

    QUrl url() const { return m_url; }
    /// The address may be loaded, and the host has made Qt WebView ready.
    bool canLoad() const;
    /// HTTPS, and in sandbox builds HTTP on the machine itself.
    Q_INVOKABLE bool isAllowed(const QUrl &address) const;

private:
    QUrl m_url;
};

} // namespace kelpay
