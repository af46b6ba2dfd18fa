pragma Singleton
import QtQuick

/// The one visual language of the screens. Sizes are in device-independent pixels: 12 points are 16 of them.
QtObject {
    readonly property color blue: "#153f8f"
    readonly property color magenta: "#d4006f"
    readonly property color bannerColor: Qt.rgba(0.9, 0, 0.33, 1)
    readonly property color success: "#0b7148"
    readonly property color ink: "#18233a"
    readonly property color inkSoft: "#566074"
    readonly property color line: "#d6dce8"
    readonly property color surface: "#ffffff"
    readonly property color page: "#f3f5fa"
    readonly property color disabled: "#e4e8f0"
    readonly property color accessory: "#f5202634"
    readonly property color scrim: "#b3101a30"

    readonly property string family: "IRANSansFaNum-Medium"
    readonly property string boldFamily: "irsansbold"
    readonly property int captionSize: 14
    readonly property int bodySize: 16
    readonly property int titleSize: 20
    readonly property int amountSize: 34

    readonly property int spacing: 8
    readonly property int margin: 16
    readonly property int radius: 14
    readonly property int smallRadius: 10
    readonly property int controlHeight: 52
    readonly property int barHeight: 56
    readonly property int columnWidth: 460

    readonly property int motion: 200
}
