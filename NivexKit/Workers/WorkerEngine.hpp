#pragma once

#include "NivexKit/Contract/ConversionEngine.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Workers/WorkerPool.hpp"

#include <memory>
#include <string>
#include <vector>

namespace nivex {

/// An engine whose work is done in a worker program. A subclass states its edges and losses, and otherwise only what is
/// particular to it: a time limit of its own, what it may hand back.
class WorkerEngine : public ConversionEngine {
public:
    EngineID id() const final { return identity_.id; }
    std::string displayName() const final { return identity_.displayName; }
    /// As it was when the engine was made.
    EngineAvailability availability() const final { return availability_; }
    std::span<const EngineCapability> capabilities() const final { return edges_; }
    std::vector<std::filesystem::path> convert(const EngineRequest& request, const ProgressCallback& progress,
                                               const CancellationFlag& cancellation) const final;

protected:
    struct Identity {
        EngineID id;
        Text displayName;
        std::string program; // "image" is the program nivex-worker-image
    };

    /// Every edge can be cancelled, whatever it says: the child that does its work is killed.
    WorkerEngine(Identity identity, std::shared_ptr<WorkerPool> pool, std::vector<EngineCapability> edges);

    /// The program that does the work of a request, where an engine has several; else its own.
    virtual std::string programFor(const EngineRequest&) const { return identity_.program; }

private:
    Identity identity_;
    std::shared_ptr<WorkerPool> pool_; // shared: work that was left behind may outlive the pool's maker
    EngineAvailability availability_;
    std::vector<EngineCapability> edges_;
};

} // namespace nivex
