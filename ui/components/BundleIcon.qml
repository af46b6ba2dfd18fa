import QtQuick

/// A white template image of the bundle, drawn in one colour.
Image {
    required property string file
    required property color color

    width: 24
    height: 24
    source: "image://kelpay/" + file + "/" + color.toString().slice(1)
    fillMode: Image.PreserveAspectFit
    Accessible.ignored: true
}
