#include "NIVEX/Model/ConversionCenter.hpp"

#include "NIVEX/Model/Destination.hpp"
#include "NIVEX/Model/FileList.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <span>
#include <unordered_set>

namespace nivex {

namespace fs = std::filesystem;

namespace {

constexpr const char* joinedFormat = "pdf";
/// More files than that nobody puts in order by hand, and one document of them would be unwieldy.
constexpr std::size_t mostCombined = 500;

/// How many files are looked at before a window hears of them: the first by itself, then ever more.
std::size_t chunkAfter(std::size_t looked)
{
    constexpr std::size_t largest = 256;
    return looked == 0 ? 1 : std::min(looked * 4, largest);
}

void add(std::vector<Remark>& remarks, const std::string& text)
{
    const auto known = std::ranges::find(remarks, text, &Remark::text);
    if (known == remarks.end())
        remarks.push_back({text, 1});
    else
        ++known->files;
}

} // namespace

/// The looking at one selection. Only `isGivenUp` belongs to two threads; all else to the work's.
struct ConversionCenter::Reading {
    explicit Reading(const ConversionPlanner& planner) : table{planner} {}

    CancellationFlag isGivenUp;
    std::unordered_set<std::string> seen;
    std::vector<fs::path> paths;
    std::size_t next = 0; // of `paths`
    std::vector<SharedDetection> files;
    OfferTable table;

    void list(const std::vector<fs::path>& given, FileList& list)
    {
        for (const fs::path& path : given) {
            std::error_code ignored;
            if (fs::is_directory(path, ignored))
                list.addTree(path.native(), isGivenUp);
            else
                list.files.push_back({path.native()});
        }
        for (const ListedFile& file : list.files)
            if (seen.insert(file.path).second)
                paths.emplace_back(file.path);
    }

    void take(SharedDetection file)
    {
        table.add(*file);
        files.push_back(std::move(file));
    }

    /// All of them, as one more offer where they can be joined.
    std::vector<TargetOffer> offers(const ConversionPlanner& planner) const
    {
        std::vector<TargetOffer> offers = table.offers();
        if (table.usableFiles() < 2 || table.usableFiles() > mostCombined || !planner.joins(joinedFormat))
            return offers;
        std::vector<DetectionResult> usable;
        for (const SharedDetection& file : files)
            if (file->isUsable())
                usable.push_back(*file);
        if (const auto whole = planner.combinationPlan(usable, joinedFormat))
            offers.push_back({.purpose = OfferPurpose::combine,
                              .target = whole->plan.target,
                              .route = "Dans l’ordre de la liste"_fr,
                              .losses = whole->plan.losses,
                              .options = whole->plan.options});
        return offers;
    }
};

/// What one turn of looking has to tell.
struct ConversionCenter::Found {
    std::vector<SharedDetection> files = {};
    std::optional<std::vector<TargetOffer>> offers = {}; // where they may be others than before
    std::size_t usableFiles = 0;
    std::size_t remaining = 0;
    std::vector<std::string> problems = {};
    bool isLast = false; // of the turns that one call has caused
};

/// Files, and what is to be done with them; a value that another thread works on.
struct ConversionCenter::Order {
    OfferPurpose purpose;
    FormatID target;
    std::vector<SharedDetection> files;
    AskedOptions asked;
    OutputPlacement placement;

    struct Prepared {
        std::vector<ConversionQueue::JobRequest> requests;
        std::vector<Remark> warnings;
        std::vector<Remark> refusals;
        std::string destination;
    };

    /// Ends early, with what there is, once `isGivenUp` says so.
    template <class GivenUp>
    Prepared prepared(const ConversionPlanner& planner, const GivenUp& isGivenUp) const
    {
        Prepared result;
        if (purpose == OfferPurpose::combine) {
            combine(planner, result);
            return result;
        }
        for (const SharedDetection& file : files) {
            if (isGivenUp())
                break;
            if (!file->isUsable())
                continue;
            if (const auto plan = planFor(planner, *file))
                prepare(planner, *file, *plan, {}, result);
            else
                nivex::add(result.refusals, "Aucune conversion vers ce format n’est possible."_fr);
        }
        return result;
    }

private:
    std::optional<ConversionPlan> planFor(const ConversionPlanner& planner, const DetectionResult& file) const
    {
        return purpose == OfferPurpose::lighten ? planner.optimizationPlan(file) : planner.plan(file, target);
    }

    void combine(const ConversionPlanner& planner, Prepared& result) const
    {
        std::vector<DetectionResult> sources;
        for (const SharedDetection& file : files)
            if (file->isUsable())
                sources.push_back(*file);
        if (auto whole = planner.combinationPlan(sources, target))
            prepare(planner, sources.front(), whole->plan, std::move(whole->others), result);
    }

    void prepare(const ConversionPlanner& planner, const DetectionResult& file, const ConversionPlan& plan,
                 std::vector<JoinedSource> others, Prepared& result) const
    {
        ConversionVerdict verdict = verdictOn(plan, planner, file, asked);
        for (const std::string& warning : verdict.warnings)
            nivex::add(result.warnings, warning);
        if (verdict.refusal) {
            nivex::add(result.refusals, verdict.refusal->message());
            return;
        }
        if (result.destination.empty())
            result.destination = problemOf(folderOf(placement.destination, file.url)).value_or("");
        result.requests.push_back({.source = file,
                                   .plan = std::move(verdict.plan),
                                   .options = verdict.options,
                                   .placement = placement,
                                   .others = std::move(others)});
    }
};

ConversionCenter::ConversionCenter(const FileDetector& detector, const ConversionPlanner& planner,
                                   ConversionQueue& queue, MainLoop& mainLoop)
    : detector_{detector}, planner_{planner}, queue_{queue}, mainLoop_{mainLoop}, reading_{std::make_shared<Reading>(
                                                                                      planner)}
{
}

ConversionCenter::~ConversionCenter()
{
    isEnding_.set();
    reading_->isGivenUp.set();
}

// MARK: The files

void ConversionCenter::add(std::vector<fs::path> paths)
{
    mainThread_.check();
    ++looks_;
    work_.post([this, reading = reading_, paths = std::move(paths)] {
        FileList list;
        reading->list(paths, list);
        std::ranges::move(list.passed, std::back_inserter(list.problems));
        post([this, reading, problems = std::move(list.problems),
              remaining = reading->paths.size() - reading->next]() mutable {
            if (reading != reading_)
                return;
            std::ranges::move(problems, std::back_inserter(problems_));
            remaining_ = remaining;
            changed();
        });
        look(reading);
    });
    changed();
}

/// One turn, on the work's thread; the next one is posted, so that what a person asks for meanwhile comes between.
void ConversionCenter::look(const std::shared_ptr<Reading>& reading)
{
    Found result;
    const std::size_t left = reading->paths.size() - reading->next;
    const std::size_t count = reading->isGivenUp.isSet() ? 0 : std::min(chunkAfter(reading->next), left);
    for (DetectionResult& file : detector_.detectForPlanning(std::span{reading->paths}.subspan(reading->next, count))) {
        result.files.push_back(std::make_shared<const DetectionResult>(std::move(file)));
        if (!reading->isGivenUp.isSet())
            reading->take(result.files.back());
    }
    reading->next += count;
    result.remaining = left - count;
    result.isLast = result.remaining == 0 || reading->isGivenUp.isSet();
    result.usableFiles = reading->table.usableFiles();
    result.offers = result.isLast ? reading->offers(planner_) : reading->table.offers();
    const bool isLast = result.isLast;
    post([this, reading, result = std::make_shared<Found>(std::move(result))] { found(reading, std::move(*result)); });
    if (!isLast)
        work_.post([this, reading] { look(reading); });
}

void ConversionCenter::found(const std::shared_ptr<Reading>& reading, Found found)
{
    if (reading != reading_)
        return;
    std::ranges::move(found.files, std::back_inserter(files_));
    usableFiles_ = found.usableFiles;
    remaining_ = found.remaining;
    if (found.offers)
        offers_ = std::move(*found.offers);
    if (found.isLast && --looks_ == 0) {
        judge();
        if (std::exchange(convertsWhenLooked_, false))
            convert();
    }
    changed();
}

void ConversionCenter::beginAnew()
{
    reading_->isGivenUp.set();
    reading_ = std::make_shared<Reading>(planner_);
    looks_ = 0;
    remaining_ = 0;
    convertsWhenLooked_ = false;
}

/// Files have gone or moved: what is left is planned for again.
void ConversionCenter::planAnew()
{
    beginAnew();
    ++looks_;
    work_.post([this, reading = reading_, files = files_] {
        for (const SharedDetection& file : files) {
            if (reading->isGivenUp.isSet())
                return;
            reading->seen.insert(file->url.native());
            reading->take(file);
        }
        look(reading);
    });
    changed();
}

void ConversionCenter::remove(std::vector<std::size_t> places)
{
    mainThread_.check();
    if (isLooking())
        return;
    std::ranges::sort(places, std::greater{});
    for (const std::size_t place : places)
        if (place < files_.size())
            files_.erase(files_.begin() + static_cast<std::ptrdiff_t>(place));
    if (files_.empty())
        clear();
    else
        planAnew();
}

void ConversionCenter::move(std::size_t from, std::size_t to)
{
    mainThread_.check();
    if (isLooking() || from >= files_.size() || to >= files_.size() || from == to)
        return;
    SharedDetection moved = std::move(files_[from]);
    files_.erase(files_.begin() + static_cast<std::ptrdiff_t>(from));
    files_.insert(files_.begin() + static_cast<std::ptrdiff_t>(to), std::move(moved));
    planAnew();
}

void ConversionCenter::clear()
{
    mainThread_.check();
    beginAnew();
    files_.clear();
    offers_.clear();
    problems_.clear();
    usableFiles_ = 0;
    choose(std::nullopt);
}

const std::vector<SharedDetection>& ConversionCenter::files() const { return files_; }
bool ConversionCenter::isLooking() const { return looks_ > 0; }
std::size_t ConversionCenter::remaining() const { return remaining_; }
std::size_t ConversionCenter::usableFiles() const { return usableFiles_; }
const std::vector<std::string>& ConversionCenter::problems() const { return problems_; }

// MARK: What they can become

const std::vector<TargetOffer>& ConversionCenter::offers() const { return offers_; }

std::string ConversionCenter::whyNoOffer() const
{
    if (!offers_.empty() || isLooking() || files_.empty())
        return {};
    if (usableFiles_ > 1)
        return "Ces fichiers n'ont aucun format de sortie en commun. Convertissez-les séparément."_fr;
    if (usableFiles_ == 1)
        return "Aucune conversion n’est possible pour ce format sur cette machine."_fr;
    return files_.size() == 1 ? "Ce fichier ne peut pas être converti."_fr
                              : "Aucun de ces fichiers ne peut être converti."_fr;
}

const TargetOffer* ConversionCenter::offer(const OfferID& id) const
{
    const auto found = std::ranges::find(offers_, id, &TargetOffer::id);
    return found == offers_.end() ? nullptr : &*found;
}

// MARK: The choice

void ConversionCenter::choose(std::optional<OfferID> id, OptionOverrides settings)
{
    mainThread_.check();
    choice_ = std::move(id);
    settings_ = std::move(settings);
    judge();
    changed();
}

const TargetOffer* ConversionCenter::chosen() const { return choice_ ? offer(*choice_) : nullptr; }
const OptionOverrides& ConversionCenter::settings() const { return settings_; }

void ConversionCenter::setSettings(OptionOverrides settings)
{
    settings_ = std::move(settings);
    judge();
    changed();
}

void ConversionCenter::setPreferences(const ConversionOptions& preferences)
{
    preferences_ = preferences;
    judge();
}

const OutputDestination& ConversionCenter::destination() const { return placement_.destination; }

void ConversionCenter::setDestination(OutputDestination destination)
{
    placement_.destination = std::move(destination);
    judge();
    changed();
}

void ConversionCenter::setKeepsDate(bool keepsDate) { placement_.keepsDate = keepsDate; }

const std::optional<Judgement>& ConversionCenter::judgement() const { return judgement_; }

ConversionCenter::Order ConversionCenter::orderFor(const TargetOffer& offer) const
{
    return {.purpose = offer.purpose,
            .target = offer.target.id,
            .files = files_,
            .asked = {.preferences = preferences_, .typed = settings_},
            .placement = placement_};
}

void ConversionCenter::judge()
{
    if (judging_)
        judging_->set();
    judging_.reset();
    judgement_.reset();
    const TargetOffer* offer = chosen();
    if (!offer || isLooking())
        return;
    judging_ = std::make_shared<CancellationFlag>();
    work_.post([this, order = orderFor(*offer), judging = judging_] {
        const Order::Prepared prepared =
            order.prepared(planner_, [&] { return judging->isSet() || isEnding_.isSet(); });
        post([this, judging,
              judgement =
                  Judgement{prepared.requests.size(), prepared.warnings, prepared.refusals, prepared.destination}] {
            if (judging != judging_)
                return;
            judgement_ = judgement;
            changed();
        });
    });
}

void ConversionCenter::convert()
{
    mainThread_.check();
    if (isLooking())
        convertsWhenLooked_ = choice_.has_value();
    else if (const TargetOffer* offer = chosen())
        enqueue(orderFor(*offer));
}

std::string ConversionCenter::run(const ConversionRecipe& recipe, const std::string& locale)
{
    mainThread_.check();
    try {
        recipe.validated();
    } catch (const RecipeError& error) {
        return error.message();
    }
    Order order{.purpose = OfferPurpose::convert,
                .target = *recipe.target(),
                .files = {},
                .asked = {.preferences = recipe.startsAfresh() ? ConversionOptions{} : preferences_,
                          .recipe = recipe.settings()},
                .placement = placement_};
    std::ranges::copy_if(files_, std::back_inserter(order.files),
                         [&](const SharedDetection& file) { return recipe.accepts(*file, locale); });
    if (order.files.empty())
        return "Aucun fichier ne correspond aux conditions du raccourci."_fr;
    const std::size_t setAside = files_.size() - order.files.size();
    enqueue(std::move(order));
    return setAside == 0 ? std::string{}
                         : filled("{} fichier(s) écarté(s) par les conditions. Les originaux sont conservés."_fr,
                                  {std::to_string(setAside)});
}

void ConversionCenter::enqueue(Order order)
{
    work_.post([this, order = std::move(order)] {
        auto prepared =
            std::make_shared<Order::Prepared>(order.prepared(planner_, [this] { return isEnding_.isSet(); }));
        post([this, prepared] {
            std::optional<Uuid> batch;
            if (!prepared->requests.empty())
                batch = queue_.enqueue(std::move(prepared->requests));
            if (onQueued)
                onQueued(batch, prepared->refusals);
        });
    });
}

void ConversionCenter::post(std::function<void()> toMainThread) const
{
    mainLoop_.post([alive = std::weak_ptr{alive_}, task = std::move(toMainThread)] {
        if (!alive.expired())
            task();
    });
}

void ConversionCenter::changed() const
{
    if (onChange)
        onChange();
}

} // namespace nivex
