#include "NivexKit/Foundation/Running/WithTimeout.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <system_error>
#include <thread>

namespace nivex {
namespace {

/// How many operations are running.
struct Operations {
    std::mutex mutex;
    std::condition_variable ended;
    std::size_t count = 0;
};

Operations& operations()
{
    static Operations& shared = *new Operations; // never destroyed: an operation may outlast the statics
    return shared;
}

/// Counts one operation for as long as it lives.
class Counted {
public:
    Counted()
    {
        const std::lock_guard lock{operations().mutex};
        ++operations().count;
    }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;
    ~Counted()
    {
        const std::lock_guard lock{operations().mutex};
        --operations().count;
        operations().ended.notify_all();
    }
};

} // namespace

bool operationsHaveEnded(std::chrono::milliseconds patience)
{
    std::unique_lock lock{operations().mutex};
    return operations().ended.wait_for(lock, patience, [] { return operations().count == 0; });
}

void abandonable::start(std::function<void()> body)
{
    auto counted = std::make_shared<Counted>();
    try {
        std::thread{[counted = std::move(counted), body = std::move(body)]() mutable {
            body();
            body = nullptr; // all that the operation owns ends before it stops counting
            counted.reset();
        }}.detach();
    } catch (const std::system_error&) {
        throw ConversionError::resourceLimit("le système ne peut pas lancer de tâche supplémentaire"_fr);
    }
}

} // namespace nivex
