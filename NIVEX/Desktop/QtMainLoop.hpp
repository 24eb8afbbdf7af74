#pragma once

#include "NivexKit/Foundation/Running/MainLoop.hpp"

#include <QObject>

namespace nivex::desktop {

/// The toolkit's event loop as the main loop. Made on the main thread, before anything posts.
class QtMainLoop : public MainLoop {
public:
    void post(std::function<void()> task) override;
    void postAfter(std::chrono::milliseconds delay, std::function<void()> task) override;

private:
    QObject mainThread_; // what is posted runs on the thread of this
};

} // namespace nivex::desktop
