#include "NIVEX/CommandLine/Batch.hpp"

#include "NIVEX/CommandLine/Descriptions.hpp"
#include "NIVEX/CommandLine/FileList.hpp"
#include "NIVEX/CommandLine/Interrupts.hpp"
#include "NIVEX/CommandLine/JsonLines.hpp"
#include "NIVEX/CommandLine/ProgressLine.hpp"
#include "NIVEX/CommandLine/StandardStreams.hpp"
#include "NIVEX/CommandLine/Tally.hpp"
#include "NIVEX/Model/Destination.hpp"
#include "NIVEX/Model/JobCount.hpp"

#include "NivexKit/Execution/Placing/OutputNaming.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/ByteCount.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <chrono>
#include <memory>
#include <unordered_map>
#include <utility>

namespace nivex::commandline {
namespace {

namespace fs = std::filesystem;

/// How often the foot of the terminal is drawn anew.
constexpr std::chrono::milliseconds progressInterval{100};

/// A file with a plan, ready to be queued.
struct Prepared {
    DetectionResult detection;
    ConversionVerdict verdict;
    OutputPlacement placement;
};

/// One call's work from the list of files to the last report.
class Batch {
public:
    Batch(Session& session, const BatchRequest& request) : session_{session}, request_{request} {}

    ExitStatus run();

private:
    // Before any work:
    std::optional<std::string> settleDestination();
    FileList listed();
    void prepareAll(const FileList& list);
    void prepare(const ListedFile& file, DetectionResult detection);
    bool couldBeConverted(DetectionResult detection) const;
    void leaveAsideOr(const ListedFile& file, bool isAside, const DetectionResult& detection,
                      const std::string& message, const std::string& cause = {});
    OutputPlacement placementOf(const ListedFile& file);
    bool isThereAlready(const DetectionResult& detection, const ConversionPlan& plan,
                        const OutputPlacement& placement) const;
    void tellLeftOut(std::size_t files);

    // What would be done:
    void announceWarnings();
    void showPlans();

    // The work:
    void convertPrepared();
    void enqueueAll();
    void onFinished(const ConversionJob& job);
    void deliver(const ConversionJob& job, FinishedFile& file);
    void keepProgressShown(const std::shared_ptr<const bool>& isShown);
    ProgressState progress() const;

    void refuse(const DetectionResult& detection, const ConversionVerdict* verdict, const std::string& message,
                const std::string& cause = {});
    void report(const FinishedFile& file);
    void reportOutputs(const FinishedFile& file);
    std::string shownSource(const fs::path& source) const;
    std::vector<std::string> allWarnings(const std::vector<std::string>& own) const;
    bool keepsFormat() const { return !request_.target; }
    bool writesToStandardOutput() const { return request_.run.outputFile == standardStream; }

    Session& session_;
    const BatchRequest& request_;
    std::optional<PipeFolder> pipe_;
    bool readsStandardInput_ = false;
    bool namesFolder_ = false; // where files are wanted
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    std::vector<Prepared> prepared_;
    std::unordered_map<Uuid, const Prepared*> byJob_;
    std::size_t setAside_ = 0; // by the conditions of a recipe
    std::size_t leftOut_ = 0;  // files of a walked folder that have no such conversion
    Tally tally_;
    double finishedBytes_ = 0;
    double totalBytes_ = 0;
    unsigned turn_ = 0;
    std::size_t finished_ = 0;
    bool allSucceeded_ = true;
    bool wasInterrupted_ = false;
};

ExitStatus Batch::run()
{
    if (const auto problem = settleDestination()) {
        session_.console.error(*problem);
        return ExitStatus::someFailed;
    }
    prepareAll(listed());
    if (request_.run.dryRun) {
        showPlans();
        return allSucceeded_ ? ExitStatus::done : ExitStatus::someFailed;
    }
    if (!request_.run.json)
        announceWarnings();
    convertPrepared();
    tally_.areLighter = keepsFormat();
    tally_.time = std::chrono::steady_clock::now() - start_;
    if (!request_.run.quiet)
        session_.console.note({Meaning::aside, tally_.line()});
    if (wasInterrupted_)
        return ExitStatus::interrupted;
    return allSucceeded_ ? ExitStatus::done : ExitStatus::someFailed;
}

/// What is wrong with the place that was named for the results is said once, before any file is opened.
std::optional<std::string> Batch::settleDestination()
{
    const RunArguments& run = request_.run;
    if (run.outputFolder) {
        const fs::path above = run.outputFolder->lexically_normal().parent_path();
        std::error_code ignored;
        const bool isNamed = above.empty() || fs::exists(above, ignored); // by the sentence that says what is wrong
        const auto problem = prepareFolder(*run.outputFolder, run.dryRun);
        return problem && !isNamed ? shownPath(*run.outputFolder) + " : " + *problem : problem;
    }
    if (!run.outputFile || writesToStandardOutput())
        return std::nullopt;
    return problemOf(folderOf(SameFolderAsSource{}, *run.outputFile));
}

FileList Batch::listed()
{
    const auto& named = request_.run.selection.files;
    readsStandardInput_ = named.size() == 1 && named.front() == standardStream;
    if (readsStandardInput_ || writesToStandardOutput()) {
        pipe_.emplace();
        session_.model.setKeepsHistory(false); // of files that are gone when it is read
    }
    if (readsStandardInput_)
        return {.files = {{pipe_->takeInput().native()}}, .problems = {}, .passed = {}};
    FileList list = listFiles(request_.run.selection);
    tell(session_.console, list);
    allSucceeded_ = list.problems.empty();
    return list;
}

void Batch::prepareAll(const FileList& list)
{
    if (list.files.empty()) {
        allSucceeded_ = false;
        return;
    }
    std::vector<DetectionResult> detections = session_.model.detector().detectForPlanning(list.paths());
    for (std::size_t i = 0; i < list.files.size(); ++i) {
        if (request_.accepts && !request_.accepts(detections[i]))
            ++setAside_;
        else
            prepare(list.files[i], std::move(detections[i]));
    }
    tellLeftOut(list.files.size());
    if (namesFolder_ && !request_.run.json)
        session_.console.note("Pour traiter ce qu'un dossier contient : -r"_fr);
}

void Batch::tellLeftOut(std::size_t files)
{
    Console& console = session_.console;
    if (setAside_ == files)
        console.note("Aucun fichier ne correspond aux conditions du raccourci."_fr);
    else if (setAside_ > 0)
        console.note(filled("{} fichier(s) écarté(s) par les conditions. Les originaux sont conservés."_fr,
                            {std::to_string(setAside_)}));
    if (leftOut_ > 0)
        console.note(filled(
            "{} fichier(s) laissé(s) de côté : {}."_fr,
            {std::to_string(leftOut_),
             keepsFormat() ? request_.whyLeftOut : filled("sans conversion vers {}"_fr, {request_.target->name})}));
    if (setAside_ + leftOut_ == files)
        allSucceeded_ = false;
}

void Batch::prepare(const ListedFile& file, DetectionResult detection)
{
    const DetectionIssue* issue = detection.blockingIssue();
    namesFolder_ = namesFolder_ || (issue && issue->kind() == DetectionIssue::Kind::directory);
    if (issue)
        return leaveAsideOr(file, !couldBeConverted(detection), detection, issue->message(), issue->cause());
    const PlanChoice choice = request_.choosePlan(detection);
    if (const auto* none = std::get_if<NoPlan>(&choice))
        return leaveAsideOr(file, true, detection, none->message);
    ConversionVerdict verdict =
        verdictOn(std::get<ConversionPlan>(choice), session_.model.planner(), detection, request_.options);
    if (verdict.refusal)
        return refuse(detection, &verdict, verdict.refusal->message(), verdict.refusal->cause());
    OutputPlacement placement = placementOf(file);
    if (request_.run.skipExisting && isThereAlready(detection, verdict.plan, placement)) {
        ++tally_.thereBefore;
        return;
    }
    // The folders of a kept tree are made below one that has been looked at.
    if (!request_.run.outputFolder)
        if (const auto problem = problemOf(folderOf(placement.destination, detection.url)))
            return refuse(detection, &verdict, *problem);
    totalBytes_ += static_cast<double>(detection.fileSize);
    prepared_.push_back({std::move(detection), std::move(verdict), std::move(placement)});
}

/// Whether what stands in the way is in this file, and not in its format.
bool Batch::couldBeConverted(DetectionResult detection) const
{
    detection.issues.clear();
    if (!detection.format)
        detection.format = detection.declaredFormat;
    return std::holds_alternative<ConversionPlan>(request_.choosePlan(detection));
}

/// A file that was named itself is a failure; one that a walk came upon was asked for by nobody.
void Batch::leaveAsideOr(const ListedFile& file, bool isAside, const DetectionResult& detection,
                         const std::string& message, const std::string& cause)
{
    if (isAside && file.wasWalked())
        ++leftOut_;
    else
        refuse(detection, nullptr, message, cause);
}

/// Folders of a walked tree are made below the chosen folder.
OutputPlacement Batch::placementOf(const ListedFile& file)
{
    const RunArguments& run = request_.run;
    OutputPlacement placement{session_.model.preferences().destination};
    if (writesToStandardOutput()) {
        placement.destination = DestinationFolder{pipe_->outputs()};
    } else if (run.outputFile) {
        placement.destination = DestinationFolder{folderOf(SameFolderAsSource{}, *run.outputFile)};
        placement.fileName = run.outputFile->filename().native();
    } else if (run.outputFolder) {
        const fs::path folder = *run.outputFolder / file.folderInTree();
        std::error_code ignored; // the runner says what is wrong with a folder that could not be made
        if (!run.dryRun && file.wasWalked())
            fs::create_directories(folder, ignored);
        placement.destination = DestinationFolder{folder};
    }
    placement.keepsDate = run.keepDates;
    return placement;
}

bool Batch::isThereAlready(const DetectionResult& detection, const ConversionPlan& plan,
                           const OutputPlacement& placement) const
{
    const std::string name = placement.fileName.value_or(
        OutputNaming::sanitizedBaseName(detection.url.stem().native()) + "." + plan.target.preferredExtension());
    std::error_code ignored;
    return fs::exists(fs::symlink_status(folderOf(placement.destination, detection.url) / name, ignored));
}

std::vector<std::string> Batch::allWarnings(const std::vector<std::string>& own) const
{
    std::vector<std::string> all = own;
    all.insert(all.end(), request_.recipeWarnings.begin(), request_.recipeWarnings.end());
    return all;
}

/// Says each warning once, however many files share it.
void Batch::announceWarnings()
{
    std::vector<std::pair<std::string, std::vector<const Prepared*>>> files;
    for (const Prepared& each : prepared_) {
        for (const std::string& warning : each.verdict.warnings) {
            auto known =
                std::find_if(files.begin(), files.end(), [&](const auto& row) { return row.first == warning; });
            if (known == files.end())
                known = files.insert(files.end(), {warning, {}});
            known->second.push_back(&each);
        }
    }
    for (const auto& [warning, sharing] : files)
        session_.console.note((sharing.size() == 1 ? shownSource(sharing.front()->detection.url)
                                                   : filled("{} fichiers"_fr, {std::to_string(sharing.size())})) +
                              " : " + warned(warning));
}

void Batch::showPlans()
{
    for (const Prepared& each : prepared_) {
        if (request_.run.json) {
            report({.source = each.detection.url,
                    .sourceFormat = each.detection.format->id,
                    .target = each.verdict.plan.target.id,
                    .state = "planned",
                    .warnings = allWarnings(each.verdict.warnings),
                    .plan = &each.verdict.plan});
            continue;
        }
        session_.console.result(emphasized(shownSource(each.detection.url)) + " → " +
                                each.verdict.plan.target.id.rawValue + " : " + describeRoute(each.verdict.plan));
        for (const std::string& warning : each.verdict.warnings)
            session_.console.result("    " + warned(warning));
    }
}

void Batch::convertPrepared()
{
    if (prepared_.empty())
        return;
    ConversionQueue& queue = session_.model.queue();
    const auto wanted = request_.run.jobs ? request_.run.jobs : session_.model.preferences().jobs;
    queue.setMaxConcurrentJobs(wanted.value_or(jobsOfThisMachine()));
    const InterruptHandler interrupts{session_.loop, [&queue] { queue.cancelAll(); }};
    session_.model.onJobFinished = [this](const ConversionJob& job) { onFinished(job); };
    const auto isShown = std::make_shared<const bool>(true);
    if (session_.console.showsProgress())
        keepProgressShown(isShown);
    enqueueAll();
    session_.loop.run();
    session_.model.onJobFinished = nullptr;
    session_.console.clearProgress();
    wasInterrupted_ = interrupts.wasInterrupted();
}

/// One batch of the queue for each run of files with the same options and destination.
void Batch::enqueueAll()
{
    const auto isLike = [](const Prepared& one, const Prepared& other) {
        return one.placement == other.placement && one.verdict.options == other.verdict.options;
    };
    for (auto first = prepared_.begin(); first != prepared_.end();) {
        const auto last =
            std::find_if(first, prepared_.end(), [&](const Prepared& each) { return !isLike(*first, each); });
        std::vector<ConversionQueue::Request> requests;
        for (auto each = first; each != last; ++each)
            requests.emplace_back(each->detection, each->verdict.plan);
        const Uuid batch = session_.model.queue().enqueue(requests, first->verdict.options, first->placement);
        for (const ConversionJob* job : session_.model.queue().jobsInBatch(batch))
            byJob_.emplace(job->id, &*first++);
    }
}

void Batch::onFinished(const ConversionJob& job)
{
    const Prepared& prepared = *byJob_.at(job.id);
    FinishedFile file{.source = job.source.url,
                      .sourceFormat = job.source.format->id,
                      .sourceBytes = job.source.fileSize,
                      .target = job.plan.target.id,
                      .warnings = allWarnings(prepared.verdict.warnings)};
    if (job.startedAt && job.finishedAt)
        file.seconds = std::chrono::duration<double>(*job.finishedAt - *job.startedAt).count();
    if (std::holds_alternative<ConversionJob::Succeeded>(job.state)) {
        file.state = "succeeded";
        deliver(job, file);
    } else if (const auto* failure = std::get_if<ConversionJob::Failed>(&job.state)) {
        file.state = "failed";
        file.message = failure->message;
        file.cause = failure->cause;
    } else {
        file.state = "cancelled";
        ++tally_.cancelled;
    }
    finishedBytes_ += static_cast<double>(job.source.fileSize);
    report(file);
    if (++finished_ == prepared_.size())
        session_.loop.stop();
}

/// Counts what succeeded and, where it goes to standard output, sends it there.
void Batch::deliver(const ConversionJob& job, FinishedFile& file)
{
    const ConversionOutcome& outcome = std::get<ConversionJob::Succeeded>(job.state).outcome;
    for (const fs::path& output : outcome.outputs)
        file.outputs.push_back(output.lexically_normal());
    file.totalBytes = outcome.totalBytes;
    for (const std::string& warning : outcome.warnings) {
        file.warnings.push_back(warning);
        if (!request_.run.json)
            session_.console.note(shownSource(file.source) + " : " + warned(warning));
    }
    if (writesToStandardOutput()) {
        if (file.outputs.size() != 1) {
            file.state = "failed";
            file.message = filled("le résultat compte {} fichiers : -o - n'en prend qu'un"_fr,
                                  {std::to_string(file.outputs.size())});
        } else if (!session_.console.resultFile(file.outputs.front())) {
            file.state = "failed";
            file.message = "le résultat ne peut pas être relu"_fr;
        }
        file.outputs.clear();
    }
    if (file.state != "succeeded")
        return;
    ++tally_.converted[job.plan.target.name];
    tally_.bytesBefore += file.sourceBytes;
    tally_.bytesAfter += file.totalBytes;
}

void Batch::refuse(const DetectionResult& detection, const ConversionVerdict* verdict, const std::string& message,
                   const std::string& cause)
{
    FinishedFile file{.source = detection.url,
                      .sourceFormat = detection.format ? std::optional{detection.format->id} : std::nullopt,
                      .target = request_.target ? request_.target->id : FormatID{},
                      .state = "failed",
                      .message = message,
                      .cause = cause};
    if (verdict)
        file.warnings = allWarnings(verdict->warnings);
    report(file);
}

void Batch::report(const FinishedFile& file)
{
    if (file.state == "failed")
        ++tally_.failed;
    allSucceeded_ = allSucceeded_ && (file.state == "succeeded" || file.state == "planned");
    if (request_.run.json) {
        FinishedFile told = file;
        if (readsStandardInput_)
            told.source = standardStream;
        return session_.console.jsonResult(finishedLine(told, request_.run.dryRun));
    }
    if (file.message)
        session_.console.note(emphasized(shownSource(file.source)) + " : " + failed(*file.message) +
                              describeCause(request_.run.verbose ? file.cause : std::string{}));
    reportOutputs(file);
}

void Batch::reportOutputs(const FinishedFile& file)
{
    for (const fs::path& output : file.outputs) {
        Line line = shownSource(file.source) + " → " + succeeded(shownPath(output));
        if (keepsFormat())
            line += filled(" ({} → {}, {})"_fr, {shownByteCount(file.sourceBytes), shownByteCount(file.totalBytes),
                                                 shownChange(file.sourceBytes, file.totalBytes)});
        session_.console.result(line);
    }
    const auto& wanted = request_.run.outputFile;
    if (wanted && file.outputs.size() == 1 && file.outputs.front().filename() != wanted->filename())
        session_.console.note(filled("« {} » existe déjà et reste tel quel ; le résultat s'appelle « {} »."_fr,
                                     {shownPath(wanted->filename()), shownPath(file.outputs.front().filename())}));
}

std::string Batch::shownSource(const fs::path& source) const
{
    return readsStandardInput_ ? standardStream : shownPath(source);
}

/// Draws the foot of the terminal again and again, also while nothing is heard of a long file.
void Batch::keepProgressShown(const std::shared_ptr<const bool>& isShown)
{
    session_.console.progress(progressLine(progress(), turn_++, session_.console.footColumns()));
    session_.loop.postAfter(progressInterval, [this, shown = std::weak_ptr{isShown}] {
        if (const auto isStillShown = shown.lock())
            keepProgressShown(isStillShown);
    });
}

ProgressState Batch::progress() const
{
    ProgressState state{.finishedFiles = finished_,
                        .totalFiles = prepared_.size(),
                        .doneBytes = finishedBytes_,
                        .totalBytes = totalBytes_,
                        .elapsed = std::chrono::steady_clock::now() - start_};
    for (const ConversionJob& job : session_.model.queue().jobs()) {
        const auto* running = std::get_if<ConversionJob::Running>(&job.state);
        if (!running)
            continue;
        state.doneBytes += running->fraction.value_or(0) * static_cast<double>(job.source.fileSize);
        if (state.atWork.empty())
            state.atWork = shownPath(job.source.fileName());
        else
            ++state.othersAtWork;
    }
    return state;
}

} // namespace

PlanChoice planTo(const FileFormat& target, const ConversionPlanner& planner, const DetectionResult& detection)
{
    if (detection.format && detection.format->id == target.id)
        return NoPlan{
            ConversionError::unsupported(filled("le fichier est déjà au format {}"_fr, {target.name})).message()};
    if (auto plan = planner.plan(detection, target.id))
        return std::move(*plan);
    if (detection.format)
        if (const auto obstacle = planner.obstacle(detection.format->id, target.id))
            return NoPlan{ConversionError::engineUnavailable(*obstacle).message()};
    const std::string source = detection.format ? detection.format->name : std::string{"format inconnu"_fr};
    return NoPlan{ConversionError::unsupported(
                      filled("aucun moteur de cette machine ne mène de {} à {}"_fr, {source, target.name}))
                      .message()};
}

ExitStatus runBatch(Session& session, const BatchRequest& request) { return Batch{session, request}.run(); }

} // namespace nivex::commandline
