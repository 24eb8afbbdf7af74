#include "NivexWorkers/Host/ReplyChannel.hpp"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cmath>

namespace nivex::worker {
namespace {

constexpr double smallestStep = 0.001;

void writeAll(int channel, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t count = ::write(channel, text.data(), text.size());
        if (count < 0 && errno != EINTR)
            ::_exit(0); // nobody listens any more
        text.remove_prefix(count < 0 ? 0 : static_cast<std::size_t>(count));
    }
}

} // namespace

WorkerRequest ReplyChannel::receiveRequest() const
{
    MessageLines lines;
    std::array<char, 16 * 1024> buffer;
    for (;;) {
        if (const auto line = lines.next())
            return readWorkerRequest(*line);
        const ssize_t count = ::read(channel_, buffer.data(), buffer.size());
        if (count == 0 || (count < 0 && errno != EINTR))
            throw WorkerMessageError{"no request"};
        lines.append({buffer.data(), count < 0 ? 0 : static_cast<std::size_t>(count)});
    }
}

void ReplyChannel::report(std::optional<double> fraction)
{
    {
        const std::lock_guard lock{mutex_};
        if (lastReport_ && lastReport_->has_value() == fraction.has_value() &&
            (!fraction || std::abs(**lastReport_ - *fraction) < smallestStep))
            return;
        lastReport_ = fraction;
    }
    send(WorkerProgress{fraction});
}

void ReplyChannel::send(const WorkerReply& reply)
{
    const std::string line = written(reply) + "\n";
    const std::lock_guard lock{mutex_};
    writeAll(channel_, line);
}

} // namespace nivex::worker
