#pragma once

#include "NivexKit/Contract/EngineID.hpp"
#include "NivexKit/Contract/EngineRequest.hpp"
#include "NivexKit/Formats/SourceProperties.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Texts/Language.hpp"
#include "NivexKit/Workers/MessageLines.hpp"
#include "NivexKit/Workers/SandboxPosture.hpp"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace nivex {

/// What a worker program can be asked for.
enum class WorkerTask {
    convert,  // turn the input into files of the target format
    probe,    // measure the input
    render,   // draw one page of the input as a picture
    describe, // name the libraries and the layers of the sandbox
};

/// What the kernel holds one child to.
struct WorkerLimits {
    std::int64_t memoryBytes = 0; // of address space
    std::int64_t fileBytes = 0;   // of one written file
    std::chrono::seconds processorTime{0};

    bool operator==(const WorkerLimits&) const = default;
};

/// One request. It travels from the application to the worker program, which trusts it.
struct WorkerRequest {
    WorkerTask task = WorkerTask::convert;
    EngineID engine; // a program may do the work of several engines
    EngineRequest work;
    std::int64_t page = 0;                // for `render`, counted from 0
    Language language = Language::french; // of the texts that come back
    WorkerLimits limits;
    bool acceptsMissingLayers = false; // go on where the kernel refuses a required layer of the sandbox
};

struct WorkerProgress {
    std::optional<double> fraction; // 0…1; absent while the amount of work is unknown

    bool operator==(const WorkerProgress&) const = default;
};

struct WorkerOutputs {
    std::vector<std::string> paths;         // below the working directory, relative to it; not looked at yet
    std::vector<std::string> warnings = {}; // as a person reads them

    bool operator==(const WorkerOutputs&) const = default;
};

struct LibraryVersion {
    std::string name;
    std::string version;

    bool operator==(const LibraryVersion&) const = default;
};

struct WorkerDescription {
    std::vector<LibraryVersion> libraries;
    SandboxPosture posture; // as a child of the program got it

    bool operator==(const WorkerDescription&) const = default;
};

using WorkerResult = std::variant<WorkerOutputs, SourceProperties, WorkerDescription>;

/// What a child sends: any number of progress messages, then one result or one error.
using WorkerReply = std::variant<WorkerProgress, WorkerResult, ConversionError>;

/// How a child of a worker program ended.
struct ChildEnd {
    int exitCode = 0; // meaningful without a signal
    int signal = 0;   // 0 when it ended by itself

    bool operator==(const ChildEnd&) const = default;
};

/// The exit code of a child that stumbled because its memory was used up.
inline constexpr int exitCodeOutOfMemory = 77;

/// The packet that asks a fork server for a child; it brings the channel for the messages and the channel on which the
/// server tells how the child fares.
inline constexpr std::string_view forkPacket = "fork";
/// The server's answer; it brings a descriptor of the child as a process.
inline constexpr std::string_view startedPacket = "started";
/// The descriptor under which a worker program finds its control socket.
inline constexpr int controlDescriptor = 3;

// Each of these is one line without its end. Reading throws WorkerMessageError for anything that is not such a message.
// A reply comes from a process that has read foreign bytes: reading it bounds every count, takes no text that is not
// UTF-8, and leaves no control character in a text that will be shown.
std::string written(const WorkerRequest& request);
WorkerRequest readWorkerRequest(std::string_view line);
std::string written(const WorkerReply& reply);
WorkerReply readWorkerReply(std::string_view line);
std::string written(const ChildEnd& end);
ChildEnd readChildEnd(std::string_view packet);

} // namespace nivex
