import QtQuick.Controls.Basic

/// What the payment screen is measured against: a window of Qt Quick Controls with nothing in it.
ApplicationWindow {
    width: 375
    height: 812
    visible: true
}
