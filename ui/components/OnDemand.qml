import QtQuick

/// Makes its content when it is first wanted and keeps it, so that the first frame waits for nothing it does not show.
Loader {
    property bool wanted: false

    active: false
    onWantedChanged: if (wanted) active = true
}
