#include "NivexKit/Workers/WorkerChild.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Workers/DescriptorPassing.hpp"

#include <signal.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>

namespace nivex {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// The flag cannot wake a waiting thread, so it is looked at this often; a fifth of the delay that a person notices.
constexpr auto cancellationInterval = 20ms;
// Between the moment a child closes its channel and the moment it has ended.
constexpr auto dyingTime = 1s;

bool hasWrittenSomething(const WorkerRequest& request)
{
    std::error_code ignored;
    return std::filesystem::directory_iterator{request.work.workingDirectory, ignored} !=
           std::filesystem::directory_iterator{};
}

std::string described(const std::optional<ChildEnd>& end)
{
    if (!end)
        return "worker: its end is unknown";
    if (end->signal == 0)
        return "worker: exit code " + std::to_string(end->exitCode);
    const char* name = ::sigabbrev_np(end->signal);
    return "worker: signal " + std::to_string(end->signal) + (name ? " (SIG" + std::string{name} + ")" : "");
}

ConversionError brokenRules()
{
    return ConversionError::encodingFailed("le programme de conversion a donné une réponse incorrecte"_fr);
}

} // namespace

WorkerResult WorkerChild::run(const WorkerRequest& request, const ProgressCallback& progress,
                              const CancellationFlag& cancellation, std::optional<std::chrono::milliseconds> timeLimit)
{
    const auto deadline = timeLimit ? Clock::now() + *timeLimit : Clock::time_point::max();
    try {
        const std::string line = written(request);
        if (line.size() > MessageLines::maxLineBytes)
            throw ConversionError::resourceLimit("trop de fichiers à la fois"_fr);
        send(line);
        for (MessageLines lines;;) {
            cancellation.check();
            if (Clock::now() >= deadline)
                throw ConversionError::timedOut();
            if (!waitReadable(channel_.get(), cancellationInterval))
                continue;
            if (!receive(lines))
                throw death(request);
            if (auto result = read(lines, progress)) {
                endOrThrow();
                return *std::move(result);
            }
        }
    } catch (const WorkerMessageError& error) {
        endOrThrow();
        throw brokenRules().because(error.what());
    } catch (...) {
        endOrThrow();
        throw;
    }
}

void WorkerChild::send(std::string line) const
{
    line += '\n';
    std::string_view rest = line;
    while (!rest.empty()) {
        const ssize_t sent = ::send(channel_.get(), rest.data(), rest.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno != EINTR)
            return; // the child has ended: reading from the channel will tell
        rest.remove_prefix(sent < 0 ? 0 : static_cast<std::size_t>(sent));
    }
}

/// False at the end of the channel.
bool WorkerChild::receive(MessageLines& lines) const
{
    std::array<char, 16 * 1024> buffer;
    // Plain recv: descriptors that a child might attach are dropped by the kernel.
    const ssize_t received = ::recv(channel_.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (received < 0 && (errno == EINTR || errno == EAGAIN))
        return true;
    if (received <= 0)
        return false;
    lines.append({buffer.data(), static_cast<std::size_t>(received)});
    return true;
}

std::optional<WorkerResult> WorkerChild::read(MessageLines& lines, const ProgressCallback& progress) const
{
    while (const auto line = lines.next()) {
        const WorkerReply reply = readWorkerReply(*line);
        if (const auto* error = std::get_if<ConversionError>(&reply))
            throw *error;
        if (const auto* result = std::get_if<WorkerResult>(&reply))
            return *result;
        if (progress)
            progress(std::get<WorkerProgress>(reply).fraction);
    }
    return std::nullopt;
}

/// What to tell of a child that closed its channel without a result.
ConversionError WorkerChild::death(const WorkerRequest& request) const
{
    const std::optional<ChildEnd> childEnd = receiveEnd();
    const int signal = childEnd ? childEnd->signal : 0;
    // Nobody here has killed it yet, so SIGKILL is the kernel that ran out of memory.
    if (childEnd && (signal == SIGKILL || (signal == 0 && childEnd->exitCode == exitCodeOutOfMemory)))
        return ConversionError::resourceLimit(
            "ce fichier demande plus de mémoire que NIVEX n'en accorde à une conversion"_fr);
    if (signal == SIGXFSZ)
        return ConversionError::resourceLimit("le fichier produit serait trop volumineux"_fr);
    if (signal == SIGXCPU)
        return ConversionError::timedOut();
    const bool wasWriting = request.task == WorkerTask::convert && hasWrittenSomething(request);
    return (wasWriting
                ? ConversionError::encodingFailed("le programme de conversion s'est arrêté de façon inattendue"_fr)
                : ConversionError::unreadableSource("sa lecture a arrêté le programme de conversion"_fr))
        .because(described(childEnd));
}

std::optional<ChildEnd> WorkerChild::receiveEnd() const
{
    if (!waitReadable(status_.get(), dyingTime))
        return std::nullopt;
    const auto packet = receivePacket(status_.get());
    return packet ? std::optional{readChildEnd(packet->text)} : std::nullopt;
}

/// False when the child lives on: the kernel refused to kill it, or holds it in a sleep that nothing ends.
bool WorkerChild::end() const { return process_.kill() && process_.waitForEnd(endingTime_); }

void WorkerChild::endOrThrow() const
{
    if (!end())
        throw ConversionError::engineUnavailable("une conversion interrompue ne s'est pas arrêtée"_fr);
}

} // namespace nivex
