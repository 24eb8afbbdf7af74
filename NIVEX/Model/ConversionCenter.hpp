#pragma once

#include "NIVEX/Model/TargetOffer.hpp"

#include "NivexKit/Detection/FileDetector.hpp"
#include "NivexKit/Execution/ConversionQueue.hpp"
#include "NivexKit/Foundation/Running/BlockingWork.hpp"
#include "NivexKit/Foundation/Running/CancellationFlag.hpp"
#include "NivexKit/Foundation/Running/MainLoop.hpp"
#include "NivexKit/Foundation/Running/ThreadConfinement.hpp"
#include "NivexKit/Planning/ConversionVerdict.hpp"
#include "NivexKit/Recipes/ConversionRecipe.hpp"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace nivex {

/// A sentence, and how many files it is about.
struct Remark {
    std::string text;
    std::size_t files = 0;

    bool operator==(const Remark&) const = default;
};

/// What taking an offer will do, told before any work.
struct Judgement {
    std::size_t files = 0;        // that will be converted
    std::vector<Remark> warnings; // losses first, each sentence once
    std::vector<Remark> refusals; // of files that will not be
    std::string destination;      // what stands in the way of writing the results; empty when nothing does

    bool operator==(const Judgement&) const = default;
};

/// The files that a person has put in, what they are, what they can become, and the way from there into the queue.
/// Files are looked at and planned for on a thread of its own, the first one first, so that a window shows it at once.
/// Main thread only. What it is made of outlives it; destruction gives up what is under way.
class ConversionCenter {
public:
    ConversionCenter(const FileDetector& detector, const ConversionPlanner& planner, ConversionQueue& queue,
                     MainLoop& mainLoop);
    ConversionCenter(const ConversionCenter&) = delete;
    ConversionCenter& operator=(const ConversionCenter&) = delete;
    ~ConversionCenter();

    std::function<void()> onChange; // anything below has changed
    /// Called when a batch has been queued, with the sentences of files that were refused. The batch is none where all
    /// of them were.
    std::function<void(std::optional<Uuid> batch, const std::vector<Remark>& refusals)> onQueued;

    // The files:

    /// Puts files in behind those that are there; of folders, what is in them. One that is there already counts once.
    void add(std::vector<std::filesystem::path> paths);
    /// Takes files out by their places. Not while files are looked at.
    void remove(std::vector<std::size_t> places);
    /// Moves a file to another place: the order in which files are combined. Not while files are looked at.
    void move(std::size_t from, std::size_t to);
    void clear();

    const std::vector<SharedDetection>& files() const;
    /// True while files are still to be looked at.
    bool isLooking() const;
    /// How many are known of and not looked at yet.
    std::size_t remaining() const;
    std::size_t usableFiles() const;
    /// What could not be read or was passed over in folders.
    const std::vector<std::string>& problems() const;

    // What they can become:

    const std::vector<TargetOffer>& offers() const;
    /// What to tell a person who sees no offer; empty while there is one, or nothing to tell.
    std::string whyNoOffer() const;
    /// The offer of that identity; null when there is none.
    const TargetOffer* offer(const OfferID& id) const;

    // The choice:

    /// Chooses an offer, or none, with the settings asked for it. An offer that is yet to come may be chosen.
    void choose(std::optional<OfferID> id, OptionOverrides settings = {});
    /// The chosen offer while there is such an offer.
    const TargetOffer* chosen() const;
    const OptionOverrides& settings() const;
    void setSettings(OptionOverrides settings);

    void setPreferences(const ConversionOptions& preferences);
    const OutputDestination& destination() const;
    void setDestination(OutputDestination destination);
    void setKeepsDate(bool keepsDate);

    /// What the choice will do; none while it is being worked out or nothing is chosen.
    const std::optional<Judgement>& judgement() const;

    /// Queues the files as chosen, once all have been looked at, and tells `onQueued`. The selection stays. Nothing
    /// where nothing is chosen.
    void convert();
    /// Queues the files that a recipe accepts. Returns the sentence of how many it sets aside, empty for none, or why
    /// nothing is done: then `onQueued` is not called.
    std::string run(const ConversionRecipe& recipe, const std::string& locale);

private:
    struct Reading;
    struct Order;
    struct Found;

    void look(const std::shared_ptr<Reading>& reading);
    void found(const std::shared_ptr<Reading>& reading, Found found);
    void beginAnew();
    void planAnew();
    Order orderFor(const TargetOffer& offer) const;
    void judge();
    void enqueue(Order order);
    void post(std::function<void()> toMainThread) const;
    void changed() const;

    ThreadConfinement mainThread_;
    const FileDetector& detector_;
    const ConversionPlanner& planner_;
    ConversionQueue& queue_;
    MainLoop& mainLoop_;

    std::vector<SharedDetection> files_;
    std::vector<std::string> problems_;
    std::vector<TargetOffer> offers_;
    std::size_t usableFiles_ = 0;
    std::size_t remaining_ = 0;
    std::size_t looks_ = 0;            // how many times `look` has begun and not come to its end
    std::shared_ptr<Reading> reading_; // of the files that are there now
    bool convertsWhenLooked_ = false;

    std::optional<OfferID> choice_;
    OptionOverrides settings_;
    ConversionOptions preferences_;
    OutputPlacement placement_;
    std::optional<Judgement> judgement_;
    std::shared_ptr<CancellationFlag> judging_;

    std::shared_ptr<const bool> alive_ = std::make_shared<const bool>(true); // asked by what is posted
    CancellationFlag isEnding_;
    SerialQueue work_{"nivex.selection"}; // last: what it runs must have ended before the rest goes
};

} // namespace nivex
