#pragma once

#include "device/cards/SavedCard.h"

#include <QObject>
#include <QStringList>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

namespace kelpay {

/// The rows of the saved-card picker, the first of which is no card. Main queue.
class PickerViewDelegate : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("There is one, shared")
    Q_PROPERTY(QStringList panArray READ panArray NOTIFY rowsChanged)

public:
    static PickerViewDelegate &sharedInstance();

    void setCards(const std::vector<SavedCard> &cards);

    // Aligned by row.
    QStringList panArray() const { return m_panArray; }
    QStringList panIdArray() const { return m_panIdArray; }
    QStringList panExpArray() const { return m_panExpArray; }

    /// The number as the list shows it, never whole.
    Q_INVOKABLE QString shownPan(const QString &pan) const;
    /// The issuing bank's name and logo, "" where the number tells none.
    Q_INVOKABLE QString bankName(const QString &pan) const;
    Q_INVOKABLE QUrl bankLogo(const QString &pan) const;
    /// Posts cardSet; nothing for the first row.
    Q_INVOKABLE void didSelectRow(int row);

Q_SIGNALS:
    void rowsChanged();
    /// A saved card was chosen; `exp` is "YY/MM" or "".
    void cardSet(const QString &panID, const QString &pan, const QString &exp);

private:
    PickerViewDelegate();

    QStringList m_panArray;
    QStringList m_panIdArray;
    QStringList m_panExpArray;
};

} // namespace kelpay
