#include "VerificationViewController.h"

#include <QCoreApplication>

namespace kelpay {

bool VerificationViewController::isBrowserReady()
{
    // What QtWebView::initialize() sets.
    return QCoreApplication::testAttribute(Qt::AA_ShareOpenGLContexts);
}

} // namespace kelpay
