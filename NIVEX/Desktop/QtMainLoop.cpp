#include "NIVEX/Desktop/QtMainLoop.hpp"

#include <QMetaObject>
#include <QTimer>

namespace nivex::desktop {

void QtMainLoop::post(std::function<void()> task)
{
    QMetaObject::invokeMethod(&mainThread_, std::move(task), Qt::QueuedConnection);
}

void QtMainLoop::postAfter(std::chrono::milliseconds delay, std::function<void()> task)
{
    // A timer runs only on a thread that has an event loop.
    post([this, delay, task = std::move(task)] { QTimer::singleShot(delay, &mainThread_, task); });
}

} // namespace nivex::desktop
