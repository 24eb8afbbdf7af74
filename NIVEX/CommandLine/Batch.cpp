#include "NIVEX/CommandLine/Batch.hpp"

#include "NIVEX/CommandLine/ArgumentReader.hpp"
#include "NIVEX/CommandLine/Descriptions.hpp"
#include "NIVEX/CommandLine/FileList.hpp"
#include "NIVEX/CommandLine/Interrupts.hpp"
#include "NIVEX/CommandLine/JsonLines.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <chrono>
#include <utility>

namespace nivex::commandline {
namespace {

namespace fs = std::filesystem;

/// How often the foot of the terminal is drawn anew.
constexpr std::chrono::milliseconds progressInterval{100};

/// A file with a plan, ready to be queued.
struct Prepared {
    DetectionResult detection;
    ConversionPlan plan;
    std::vector<std::string> warnings;
    OutputDestination destination;
};

/// One call's work from the list of files to the last report.
class Batch {
public:
    Batch(Session& session, const BatchRequest& request) : session_{session}, request_{request} {}

    ExitStatus run();

private:
    void tellSetAside(std::size_t setAside, std::size_t total);
    void prepare(const ListedFile& file, DetectionResult detection);
    OutputDestination destinationOf(const ListedFile& file);
    std::vector<std::string> warningsOf(const ConversionPlan& plan) const;
    void announceLosses();
    void showPlans();
    void convertPrepared();
    void onFinished(const ConversionJob& job);
    void refuse(const DetectionResult& detection, std::string message);
    void report(const FinishedFile& file);
    void showProgress();
    void enqueueAll();

    Session& session_;
    const BatchRequest& request_;
    std::vector<Prepared> prepared_;
    std::vector<Uuid> batches_;
    std::chrono::steady_clock::time_point nextProgress_;
    std::size_t finished_ = 0;
    bool allSucceeded_ = true;
    bool wasInterrupted_ = false;
};

ExitStatus Batch::run()
{
    const FileList list = listFiles(request_.run.selection);
    for (const std::string& problem : list.problems) {
        session_.console.note(problem);
        allSucceeded_ = false;
    }
    std::vector<fs::path> files;
    for (const ListedFile& file : list.files)
        files.push_back(file.path);
    std::vector<DetectionResult> detections = session_.model.detector().detect(files);
    std::size_t setAside = 0;
    for (std::size_t i = 0; i < list.files.size(); ++i) {
        if (request_.accepts && !request_.accepts(detections[i]))
            ++setAside;
        else
            prepare(list.files[i], std::move(detections[i]));
    }
    tellSetAside(setAside, list.files.size());

    if (request_.run.dryRun) {
        showPlans();
    } else {
        if (!request_.run.json)
            announceLosses();
        convertPrepared();
    }
    if (wasInterrupted_)
        return ExitStatus::interrupted;
    return allSucceeded_ ? ExitStatus::done : ExitStatus::someFailed;
}

void Batch::tellSetAside(std::size_t setAside, std::size_t total)
{
    if (setAside == 0)
        return;
    if (setAside < total)
        return session_.console.note(
            filled("{} fichier(s) écarté(s) par les conditions. Les originaux sont conservés."_fr,
                   {std::to_string(setAside)}));
    session_.console.note("Aucun fichier ne correspond aux conditions du raccourci."_fr.localized());
    allSucceeded_ = false;
}

void Batch::prepare(const ListedFile& file, DetectionResult detection)
{
    if (const DetectionIssue* issue = detection.blockingIssue())
        return refuse(detection, issue->message());
    PlanChoice choice = request_.choosePlan(detection);
    if (const auto* message = std::get_if<std::string>(&choice))
        return refuse(detection, *message);
    auto& plan = std::get<ConversionPlan>(choice);
    std::vector<std::string> warnings = warningsOf(plan);
    prepared_.push_back({std::move(detection), std::move(plan), std::move(warnings), destinationOf(file)});
}

/// Folders of a walked tree are made below the chosen folder, never that folder itself: a mistyped one must not appear.
OutputDestination Batch::destinationOf(const ListedFile& file)
{
    if (!request_.run.outputFolder)
        return session_.model.preferences().destination;
    const fs::path folder = *request_.run.outputFolder / file.folderInTree;
    std::error_code ignored; // the runner says what is wrong with a folder that could not be made
    if (!request_.run.dryRun && !file.folderInTree.empty() && fs::is_directory(*request_.run.outputFolder, ignored))
        fs::create_directories(folder, ignored);
    return DestinationFolder{folder};
}

std::vector<std::string> Batch::warningsOf(const ConversionPlan& plan) const
{
    std::vector<std::string> warnings = plan.warnings();
    request_.run.overrides.forEachGiven([&](const auto& setting) {
        if (!plan.options.contains(setting.kind) && !plan.refused.contains(setting.kind))
            warnings.push_back(filled("L'option {} est sans effet sur cette conversion."_fr, {typedName(setting)}));
    });
    return warnings;
}

/// Says each loss once, however many files share it.
void Batch::announceLosses()
{
    std::vector<std::pair<std::string, std::vector<const Prepared*>>> files;
    for (const Prepared& each : prepared_) {
        for (const std::string& warning : each.warnings) {
            auto known =
                std::find_if(files.begin(), files.end(), [&](const auto& row) { return row.first == warning; });
            if (known == files.end())
                known = files.insert(files.end(), {warning, {}});
            known->second.push_back(&each);
        }
    }
    for (const auto& [warning, sharing] : files)
        session_.console.note((sharing.size() == 1 ? shownPath(sharing.front()->detection.url)
                                                   : filled("{} fichiers"_fr, {std::to_string(sharing.size())})) +
                              " : " + warning);
}

void Batch::showPlans()
{
    for (const Prepared& each : prepared_) {
        if (request_.run.json) {
            session_.console.jsonResult(plansLine(each.detection, std::span{&each.plan, 1}));
            continue;
        }
        session_.console.result(shownPath(each.detection.url) + " → " + each.plan.target.id.rawValue + " : " +
                                describeRoute(each.plan));
        for (const std::string& warning : each.warnings)
            session_.console.result("    " + warning);
    }
}

void Batch::convertPrepared()
{
    if (prepared_.empty())
        return;
    ConversionQueue& queue = session_.model.queue();
    if (request_.run.jobs)
        queue.setMaxConcurrentJobs(*request_.run.jobs);
    const InterruptHandler interrupts{session_.loop, [&queue] { queue.cancelAll(); }};
    session_.model.onJobFinished = [this](const ConversionJob& job) { onFinished(job); };
    queue.onChange = [this] { showProgress(); };
    enqueueAll();
    session_.loop.run();
    queue.onChange = nullptr;
    session_.model.onJobFinished = nullptr;
    session_.console.clearProgress();
    wasInterrupted_ = interrupts.wasInterrupted();
}

/// One batch of the queue for each run of files with the same destination.
void Batch::enqueueAll()
{
    for (auto first = prepared_.begin(); first != prepared_.end();) {
        const auto last = std::find_if(first, prepared_.end(),
                                       [&](const Prepared& each) { return each.destination != first->destination; });
        std::vector<ConversionQueue::Request> requests;
        for (auto each = first; each != last; ++each)
            requests.emplace_back(each->detection, each->plan);
        batches_.push_back(session_.model.queue().enqueue(requests, request_.options, first->destination));
        first = last;
    }
}

void Batch::onFinished(const ConversionJob& job)
{
    FinishedFile file{.source = job.source.url,
                      .sourceFormat = job.source.format->id,
                      .target = job.plan.target.id,
                      .warnings = warningsOf(job.plan)};
    if (job.startedAt && job.finishedAt)
        file.seconds = std::chrono::duration<double>(*job.finishedAt - *job.startedAt).count();
    if (const auto* succeeded = std::get_if<ConversionJob::Succeeded>(&job.state)) {
        file.state = "succeeded";
        for (const fs::path& output : succeeded->outcome.outputs)
            file.outputs.push_back(output.lexically_normal());
        file.totalBytes = succeeded->outcome.totalBytes;
    } else if (const auto* failed = std::get_if<ConversionJob::Failed>(&job.state)) {
        file.state = "failed";
        file.message = failed->message;
    } else {
        file.state = "cancelled";
    }
    report(file);
    if (++finished_ == prepared_.size())
        session_.loop.stop();
}

void Batch::refuse(const DetectionResult& detection, std::string message)
{
    report({.source = detection.url,
            .sourceFormat = detection.format ? std::optional{detection.format->id} : std::nullopt,
            .target = request_.target,
            .state = "failed",
            .message = std::move(message)});
}

void Batch::report(const FinishedFile& file)
{
    allSucceeded_ = allSucceeded_ && file.state == "succeeded";
    if (request_.run.json)
        return session_.console.jsonResult(finishedLine(file));
    const std::string source = shownPath(file.source);
    if (file.message)
        session_.console.note(source + " : " + *file.message);
    for (const fs::path& output : file.outputs)
        session_.console.result(source + " → " + shownPath(output));
}

void Batch::showProgress()
{
    const auto now = std::chrono::steady_clock::now();
    if (now < nextProgress_)
        return;
    nextProgress_ = now + progressInterval;
    double done = 0;
    for (const Uuid& batch : batches_)
        if (const auto progress = session_.model.queue().progress(batch))
            done += progress->fraction.value_or(0) * static_cast<double>(progress->total);
    const auto total = static_cast<double>(prepared_.size());
    session_.console.progress(
        filled("{} sur {} · {} %"_fr, {std::to_string(finished_), std::to_string(prepared_.size()),
                                       std::to_string(static_cast<int>(100 * std::min(1.0, done / total)))}));
}

} // namespace

PlanChoice planTo(const FileFormat& target, const ConversionPlanner& planner, const DetectionResult& detection)
{
    if (detection.format && detection.format->id == target.id)
        return ConversionError::unsupported(filled("le fichier est déjà au format {}"_fr, {target.name})).message();
    std::vector<ConversionPlan> plans = planner.plans(detection);
    const auto found =
        std::find_if(plans.begin(), plans.end(), [&](const ConversionPlan& plan) { return plan.id() == target.id; });
    if (found != plans.end())
        return std::move(*found);
    const std::string source = detection.format ? detection.format->name : std::string{"format inconnu"_fr};
    return ConversionError::unsupported(
               filled("aucun moteur de cette machine ne mène de {} à {}"_fr, {source, target.name}))
        .message();
}

ExitStatus runBatch(Session& session, const BatchRequest& request) { return Batch{session, request}.run(); }

} // namespace nivex::commandline
