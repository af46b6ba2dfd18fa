#pragma once

#include "InputMeans.h"
#include "JsonLine.h"
#include "ShopOptions.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

class Session;

/// The person at the keyboard: buys the basket, pays as the options say, and prints the outcome. Ends the application
/// with 0 when one outcome came, 3 when none came in time, 4 when a second one followed.
class Driver : public QObject
{
    Q_OBJECT

public:
    Driver(const ShopOptions &options, Session *session, QObject *parent = nullptr);

    void start();

private:
    /// What the person does next; a step that can't be done yet is tried again.
    enum class Step { Buy, AnswerWallet, Verify, LeavePage, Fill, Pay, Close, Watch };

    void look();
    bool stands(const QString &name);
    bool take(Step step);
    bool answerWallet();
    bool verify();
    bool leavePage();
    bool fill();
    void pickSavedCard();
    void pickExpiry();
    void turnTo(const QString &tumbler, const QString &title);
    void enter(const QString &field, const QString &text);
    bool close();
    void receive(const JsonLine &outcome);
    void finish();
    void shoot(const QString &name);

    ShopOptions m_options;
    InputMeans &m_means;
    Step m_step = Step::Buy;
    QTimer m_glance;
    QTimer m_deadline;
    QString m_seen;
    QElapsedTimer m_seenSince;
    int m_outcomes = 0;
    int m_pictures = 0;
};
