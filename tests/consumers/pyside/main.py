#!/usr/bin/env python3
"""A host in Python: Qt's own import path has KelPay, and the screen is examples/qml/main.qml."""

import sys

from PySide6.QtGui import QGuiApplication
from PySide6.QtQml import QQmlApplicationEngine

application = QGuiApplication(sys.argv[:1])
application.setApplicationName("kelpay-python")
application.setOrganizationDomain("example.org")
application.setApplicationVersion("1.0")
engine = QQmlApplicationEngine()
for path in sys.argv[2:]:
    engine.addImportPath(path)
engine.load(sys.argv[1])
code = application.exec() if engine.rootObjects() else 1
# Before the application: its windows can't outlive it.
del engine
sys.exit(code)
