#include "ScreenPresenter.h"

#include "Log.h"

namespace kelpay {

namespace {

ScreenPresenter::Present &slot()
{
    static ScreenPresenter::Present present;
    return present;
}

} // namespace

void ScreenPresenter::setPresent(Present present)
{
    slot() = std::move(present);
}

void ScreenPresenter::present(const QString &storyboardIdentifier)
{
    if (slot())
        slot()(storyboardIdentifier);
    else
        qCWarning(logPlatform, "%s can't be shown: this process has no screens", qUtf8Printable(storyboardIdentifier));
}

} // namespace kelpay
