#include "NivexKit/Foundation/Running/WithTimeout.hpp"
#include "tests/NivexKit/Workers/WorkerTestSupport.hpp"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/ptrace.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace nivex::testing {
namespace {

using namespace std::chrono_literals;
using Kind = ConversionError::Kind;

constexpr auto patience = 20s; // far more than needed, on a machine that does other things

TEST(HostileWorker, BecomesOneFailedJobWithAPlainSentence)
{
    HostileHouse house;
    const struct {
        const char* misdeed;
        Kind kind;
        const char* detail;
    } cases[] = {
        {"crash", Kind::unreadableSource, "sa lecture a arrêté le programme de conversion"},
        {"crash writing", Kind::encodingFailed, "le programme de conversion s'est arrêté de façon inattendue"},
        {"leave", Kind::unreadableSource, "sa lecture a arrêté le programme de conversion"},
        {"close", Kind::unreadableSource, "sa lecture a arrêté le programme de conversion"},
        {"throw", Kind::unreadableSource, "son contenu est endommagé"},
        {"allocate", Kind::resourceLimit, "ce fichier demande plus de mémoire que NIVEX n'en accorde à une conversion"},
        {"allocate abort", Kind::resourceLimit,
         "ce fichier demande plus de mémoire que NIVEX n'en accorde à une conversion"},
        {"large file", Kind::resourceLimit, "le fichier produit serait trop volumineux"},
        {"flood of lines", Kind::encodingFailed, "le programme de conversion a donné une réponse incorrecte"},
        {"flood of bytes", Kind::encodingFailed, "le programme de conversion a donné une réponse incorrecte"},
        {"partial message", Kind::unreadableSource, "sa lecture a arrêté le programme de conversion"},
        {"bad UTF-8", Kind::encodingFailed, "le programme de conversion a donné une réponse incorrecte"},
        {"nonsense", Kind::encodingFailed, "le programme de conversion a donné une réponse incorrecte"},
        {"other result", Kind::encodingFailed, "le programme de conversion a donné une réponse incorrecte"},
        {"outside", Kind::outputVerificationFailed, "fichier produit hors de l'espace de travail"},
        {"missing file", Kind::outputVerificationFailed, "fichier produit absent"},
    };
    const std::string server = house.attempt("parent");
    for (const auto& each : cases) {
        SCOPED_TRACE(each.misdeed);
        EXPECT_EQ(house.failure(house.call(each.misdeed)), (ConversionError{each.kind, each.detail}));
        EXPECT_TRUE(house.worksOn()) << "the next job suffers";
    }
    EXPECT_EQ(house.attempt("parent"), server) << "a misdeed ended the server";
}

TEST(HostileWorker, LeavesATechnicalCause)
{
    HostileHouse house;
    EXPECT_EQ(house.failure(house.call("crash")).cause(), "worker: signal 11 (SIGSEGV)");
    EXPECT_EQ(house.failure(house.call("leave")).cause(), "worker: exit code 0");
    EXPECT_EQ(house.failure(house.call("throw")).cause(), "jargon of a library");
    EXPECT_NE(house.failure(house.call("nonsense")).cause(), "");
    EXPECT_EQ(house.failure(house.call("outside")).cause(), "output: ../input");
}

TEST(HostileWorker, HandsBackWhatItsEngineWarnsOf)
{
    HostileHouse house;
    WorkerCall call = house.call("warn");
    call.request.warnings = std::make_shared<ConversionWarnings>();
    house.pool.convert(call, {}, {});
    EXPECT_EQ(call.request.warnings->all(), std::vector<std::string>{"Une ligne manque."});
}

TEST(HostileWorker, MayPrintAsMuchAsItLikes)
{
    HostileHouse house;
    EXPECT_EQ(contentsOf(house.pool.convert(house.call("print"), {}, {}).at(0)), "hello");
}

TEST(HostileWorker, IsKilledWhenItTakesTooLong)
{
    HostileHouse house;
    for (const char* misdeed : {"stay", "spin", "ignore", "stop"}) {
        WorkerCall call = house.call(misdeed);
        call.timeLimit = 30ms;
        EXPECT_EQ(house.failure(call), ConversionError::timedOut());
        EXPECT_TRUE(house.worksOn());
    }
}

TEST(HostileWorker, EndsWithTheStepThatItHangsIn)
{
    HostileHouse house;
    for (const char* misdeed : {"stay", "spin"}) {
        const auto work = [&house, call = house.call(misdeed)](const CancellationFlag& flag) {
            return house.pool.convert(call, {}, flag);
        };
        try {
            withTimeout(100ms, {}, work);
            ADD_FAILURE() << "it hung and yet ended";
        } catch (const ConversionError& error) {
            EXPECT_EQ(error, ConversionError::timedOut());
        }
        EXPECT_TRUE(operationsHaveEnded(patience)) << "the abandoned call waits for the child for ever";
        EXPECT_TRUE(house.worksOn());
    }
}

TEST(HostileWorker, IsKilledWhenItIsCancelled)
{
    HostileHouse house;
    for (const char* misdeed : {"stay", "ignore", "stop"}) {
        CancellationFlag flag;
        std::optional<ProcessHandle> child;
        const auto cancel = [&](std::optional<double>) {
            child = processOf(writtenProcesses(house.workingDirectory)[0]);
            flag.set();
        };
        EXPECT_EQ(house.failure(house.call(misdeed), cancel, flag), ConversionError::cancelled());
        EXPECT_TRUE(child->waitForEnd(0ms)) << "the child was still there when the caller was told";
        EXPECT_TRUE(house.worksOn());
    }
}

/// Holds a process at the door: once killed it does not end before it is let go. To whoever waits for it, it is one in
/// a sleep that nothing interrupts. For the thread that made it.
class HeldAtTheDoor {
public:
    explicit HeldAtTheDoor(pid_t process) : process_{process}
    {
        isHeld_ = ::ptrace(PTRACE_SEIZE, process, nullptr, PTRACE_O_TRACEEXIT) == 0;
    }
    bool isHeld() const { return isHeld_; }
    void letGo() const
    {
        ::waitpid(process_, nullptr, __WALL);
        ::ptrace(PTRACE_DETACH, process_, nullptr, nullptr);
    }

private:
    pid_t process_;
    bool isHeld_ = false;
};

TEST(HostileWorker, StopsItsEngineWhenItCannotBeEnded)
{
    WorkerPool::Settings settings = HostileHouse::settings();
    settings.endingTime = 500ms; // a job that ends by itself needs less
    HostileHouse house{settings};
    CancellationFlag flag;
    std::optional<HeldAtTheDoor> door;
    std::optional<ProcessHandle> child;
    const auto cancel = [&](std::optional<double>) {
        const int process = writtenProcesses(house.workingDirectory)[0];
        child = processOf(process);
        door.emplace(process);
        flag.set();
    };
    const ConversionError held = ConversionError::engineUnavailable("une conversion interrompue ne s'est pas arrêtée");
    const ConversionError error = house.failure(house.call("stay"), cancel, flag);
    if (!door->isHeld())
        GTEST_SKIP() << "this system lets no process trace its own";
    EXPECT_EQ(error, held) << "it lives on, and is said to be cancelled";
    EXPECT_FALSE(child->waitForEnd(0ms));
    EXPECT_EQ(house.pool.availability("hostile"), EngineAvailability::unavailable(held.detail()));
    EXPECT_EQ(house.failure(house.call("copy")), held) << "the program gets work all the same";
    door->letGo();
    EXPECT_TRUE(child->waitForEnd(patience));
    EXPECT_TRUE(house.worksOn()) << "it has ended, and still no work is given";
}

/// Waits for a process that goes on while the waiting thread is woken again and again; true when the wait sees through.
bool seesThroughSignals(const ProcessHandle& process)
{
    const auto previous = ::signal(SIGALRM, [](int) {});
    const itimerval everyMillisecond{.it_interval = {0, 1'000}, .it_value = {0, 1'000}};
    const itimerval never{};
    ::setitimer(ITIMER_REAL, &everyMillisecond, nullptr);
    const bool ended = process.waitForEnd(10ms);
    ::setitimer(ITIMER_REAL, &never, nullptr);
    ::signal(SIGALRM, previous);
    return !ended;
}

TEST(ProcessHandle, SaysThatAProcessHasEndedOnlyWhenItHas)
{
    const pid_t process = ::fork();
    if (process == 0)
        for (;;)
            ::pause();
    const ProcessHandle handle = processOf(process);
    EXPECT_TRUE(seesThroughSignals(handle)) << "a signal to the waiter was taken for the end";
    EXPECT_TRUE(handle.kill());
    EXPECT_TRUE(handle.waitForEnd(patience));
    ::waitpid(process, nullptr, 0);
    EXPECT_TRUE(handle.kill()) << "killing what has ended is no failure";

    const ProcessHandle none{FileDescriptor{}};
    EXPECT_FALSE(none.kill());
    EXPECT_FALSE(none.waitForEnd(1ms));
}

TEST(HostileWorker, DiesWithItsServer)
{
    HostileHouse house;
    std::optional<ProcessHandle> child;
    const auto killServer = [&](std::optional<double>) {
        const auto processes = writtenProcesses(house.workingDirectory);
        child = processOf(processes[0]);
        processOf(processes[1]).kill();
    };
    EXPECT_THROW(house.pool.convert(house.call("stay"), killServer, {}), ConversionError);
    EXPECT_TRUE(child->waitForEnd(patience));
    EXPECT_TRUE(house.worksOn()) << "the server is not started again";
}

/// Runs in a process of its own: starts a worker that stays, says so on the pipe, and is killed by the test.
[[noreturn]] void stayUntilKilled(int pipe, const HostileHouse& tested)
{
    WorkerPool pool{HostileHouse::settings()};
    pool.convert(tested.call("stay"), [pipe](std::optional<double>) { (void)!::write(pipe, "x", 1); }, {});
    ::_exit(1);
}

TEST(HostileWorker, DoesNotOutliveTheApplication)
{
    HostileHouse house;
    int pipe[2];
    ASSERT_EQ(::pipe(pipe), 0);
    const pid_t application = ::fork();
    if (application == 0)
        stayUntilKilled(pipe[1], house);
    char byte = 0;
    ASSERT_EQ(::read(pipe[0], &byte, 1), 1);
    std::vector<ProcessHandle> left;
    for (const int process : writtenProcesses(house.workingDirectory))
        left.push_back(processOf(process));
    ::kill(application, SIGKILL);
    ::waitpid(application, nullptr, 0);
    for (const ProcessHandle& process : left)
        EXPECT_TRUE(process.waitForEnd(patience));
}

} // namespace
} // namespace nivex::testing
