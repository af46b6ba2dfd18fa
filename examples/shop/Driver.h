#pragma once

#include "JsonLine.h"
#include "ShopOptions.h"

#include <KelPay/Testing.h>
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
    bool buy();
    bool pay();
    void receive(const JsonLine &outcome);
    void finish();

    ShopOptions m_options;
    kelpay::testing::Payer m_payer;
    QTimer m_deadline;
    bool m_isOver = false;
    int m_outcomes = 0;
};
