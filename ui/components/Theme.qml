pragma Singleton
import QtQuick
import KelPay.Components

/// The one visual language of the screens, light and dark. Sizes are in device-independent pixels: 12 points are 16 of
/// them; texts grow with the person's text scale, and what holds a text grows with it.
QtObject {
    id: theme

    readonly property bool dark: Appearance.dark
    readonly property real textScale: Appearance.textScale

    // The brand's colours, the same in both schemes: only on a light surface.
    readonly property color brandBlue: "#153f8f"
    readonly property color brandMagenta: "#d4006f"
    readonly property color barSurface: dark ? "#e6ebf5" : "#ffffff"

    readonly property color bannerColor: Qt.rgba(0.9, 0, 0.33, 1)
    readonly property color onColor: "#ffffff"

    readonly property color page: dark ? "#0d1424" : "#f3f5fa"
    readonly property color surface: dark ? "#182238" : "#ffffff"
    readonly property color ink: dark ? "#eef2fa" : "#18233a"
    readonly property color inkSoft: dark ? "#b3bed3" : "#566074"
    readonly property color hint: dark ? "#97a4bd" : "#667085"
    readonly property color blue: dark ? "#9dbcff" : brandBlue
    readonly property color magenta: dark ? "#ff7ab5" : brandMagenta
    readonly property color fault: dark ? "#ff8fa6" : bannerColor
    readonly property color success: dark ? "#5fd6a2" : "#0b7148"
    readonly property color action: dark ? "#3b6cd8" : brandBlue
    readonly property color successFill: dark ? "#17855a" : "#0b7148"
    readonly property color selection: dark ? "#3b6cd8" : brandBlue
    readonly property color line: dark ? "#2c3957" : "#d6dce8"
    readonly property color outline: dark ? "#6d7a96" : "#808a9e"
    readonly property color disabled: dark ? "#2a3550" : "#e4e8f0"
    readonly property color accessory: dark ? "#2a3652" : "#1a202c"
    readonly property color scrim: dark ? "#c0050912" : "#b3101a30"

    readonly property string family: Fonts.text
    readonly property string boldFamily: Fonts.bold
    readonly property int captionSize: scaled(14)
    readonly property int bodySize: scaled(16)
    readonly property int titleSize: scaled(20)
    readonly property int amountSize: scaled(34)

    /// The room that the screens have: who shows them says so.
    property size room: Qt.size(0, 0)
    /// Large in both directions: somebody stands before it, and an arm's length away.
    readonly property bool kiosk: Math.min(room.width, room.height) >= 1000
    /// A phone on its side.
    readonly property bool low: room.height > 0 && room.height < 480
    /// There is room for two columns.
    readonly property bool wide: room.width > room.height && room.width >= 728 * zoom
    readonly property real zoom: kiosk ? 1.5 : 1

    readonly property int spacing: zoomed(8)
    readonly property int margin: zoomed(16)
    readonly property int radius: zoomed(14)
    readonly property int smallRadius: zoomed(10)
    readonly property int iconSize: zoomed(24)
    readonly property int logoSize: zoomed(36)
    readonly property int buttonHeight: zoomed(44)
    readonly property int controlHeight: holding(32, 20)
    readonly property int barHeight: holding(32, low ? 12 : 24)
    readonly property int rowHeight: holding(32, 24)
    readonly property int columnWidth: zoomed(460)

    readonly property int motion: Appearance.motionReduced ? 0 : 200
    readonly property int bannerMotion: Appearance.motionReduced ? 0 : 300
    readonly property int spinnerTurn: Appearance.motionReduced ? 4000 : 800

    function zoomed(size: real): int {
        return Math.round(size * zoom);
    }
    function scaled(size: real): int {
        return Math.round(size * textScale * zoom);
    }
    /// The height of what holds `text` pixels of text and `rest` of room; never less than at the usual size.
    function holding(text: real, rest: real): int {
        return zoomed(text * Math.max(1, textScale) + rest);
    }
}
