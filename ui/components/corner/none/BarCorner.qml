import QtQuick

/// What stands at the end of the title bar: nothing.
Item {}
