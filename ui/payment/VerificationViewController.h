#pragma once

#include "ui/components/ViewController.h"

namespace kelpay {

using namespace Qt::StringLiterals;

/// Shows the page where the service vouches for the merchant.
class VerificationViewController : public ViewController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the payment screen")
    Q_PROPERTY(QUrl url READ url CONSTANT)
    Q_PROPERTY(bool canLoad READ canLoad NOTIFY canLoadChanged)
    Q_PROPERTY(QString host READ host NOTIFY hostChanged)

public:
    explicit VerificationViewController(const QUrl &url, QObject *parent = nullptr);

    QString title() const override { return u"تایید پذیرنده"_s; }
    QString barButtonText() const override { return u"بازگشت"_s; }
    QString barButtonName() const override { return u"backButton"_s; }
    void barButtonPressed() override { dismiss(true); }

    QUrl url() const { return m_url; }
    /// The address may be loaded, nothing led away from where a page may be, and the host has made Qt WebView ready.
    bool canLoad() const;
    /// Whose page stands there, as names travel: ASCII, so that no other writing can pass for it. "" while one gives
    /// way to the next, because the former could still be drawn.
    QString host() const { return m_host; }
    /// The page goes to `address`: takes it away for good where it may not.
    Q_INVOKABLE void follow(const QUrl &address);
    /// The page of `address` stands.
    Q_INVOKABLE void arrive(const QUrl &address);
    /// HTTPS, and in sandbox builds HTTP on the machine itself.
    static bool isAllowed(const QUrl &address);

Q_SIGNALS:
    void canLoadChanged();
    void hostChanged();

private:
    /// A web view can be made. Where the system's browser needs nothing from the host, always; Qt's own ends the
    /// process when it is made without QtWebView::initialize() before the application object.
    static bool isBrowserReady();

    void setHost(const QString &host);

    QUrl m_url;
    QString m_host;
    bool m_isAstray = false;
};

} // namespace kelpay
