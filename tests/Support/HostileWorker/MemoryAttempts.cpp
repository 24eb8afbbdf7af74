#include "tests/Support/HostileWorker/Attempts.hpp"

#include <fcntl.h>
#include <linux/aio_abi.h>
#include <mqueue.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/msg.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace nivex::testing {
namespace {

constexpr std::size_t size = 1 << 20;

std::string enlargedPipe()
{
    int ends[2];
    return outcome(::pipe(ends) == 0 ? ::fcntl(ends[1], F_SETPIPE_SZ, size) : -1);
}

std::string startedQueueOfReads()
{
    aio_context_t context = 0;
    return outcome(::syscall(SYS_io_setup, 1'024, &context));
}

} // namespace

/// Memory that lies outside the limited address space. What is made is removed at once: the test is the refusal.
Attempts attemptsOnMemory()
{
    // clang-format off
    return {
        {"file in memory",    [](auto&) { return outcome(::memfd_create("memory", 0)); }},
        {"secret memory",     [](auto&) { return outcome(::syscall(SYS_memfd_secret, 0)); }},
        {"named memory",      [](auto&) { return outcome(::shm_open("/nivex-test", O_RDWR | O_CREAT | O_EXCL, 0600)); }},
        {"shared memory",     [](auto&) { return outcome(::shmget(IPC_PRIVATE, size, IPC_CREAT | 0600)); }},
        {"messages",          [](auto&) { return outcome(::msgget(IPC_PRIVATE, IPC_CREAT | 0600)); }},
        {"semaphores",        [](auto&) { return outcome(::semget(IPC_PRIVATE, 1, IPC_CREAT | 0600)); }},
        {"message queue",     [](auto&) { return outcome(::mq_open("/nivex-test", O_RDWR | O_CREAT | O_EXCL, 0600, nullptr)); }},
        {"large pipe",        [](auto&) { return enlargedPipe(); }},
        {"queue of reads",    [](auto&) { return startedQueueOfReads(); }},
    };
    // clang-format on
}

} // namespace nivex::testing
