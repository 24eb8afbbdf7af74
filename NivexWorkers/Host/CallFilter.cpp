#include "NivexWorkers/Host/CallFilter.hpp"

#include "NivexKit/Workers/SandboxPosture.hpp"

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace nivex::worker {
namespace {

#if defined(__x86_64__)
constexpr std::uint32_t ownArchitecture = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
constexpr std::uint32_t ownArchitecture = AUDIT_ARCH_AARCH64;
#else
#error "name the architecture whose system calls are filtered"
#endif

constexpr std::uint32_t firstCallOfX32 = 0x40000000; // a second set of numbers for the same calls on x86-64

// The numbers of calls that are younger than Debian 12's headers are the same on all architectures.
// clang-format off
constexpr std::uint32_t refusedCalls[] = {
    // the network and other programs' sockets
    SYS_socket, SYS_socketpair, SYS_connect, SYS_bind, SYS_listen, SYS_accept, SYS_accept4,
    SYS_sendmsg, SYS_sendmmsg, SYS_recvmsg, SYS_recvmmsg,
    // starting programs; reaching other processes
    SYS_execve, SYS_execveat, SYS_ptrace, SYS_process_vm_readv, SYS_process_vm_writev, SYS_process_madvise,
    SYS_process_mrelease, SYS_kcmp, SYS_pidfd_open, SYS_pidfd_getfd, SYS_pidfd_send_signal, SYS_tkill,
    SYS_rt_sigqueueinfo, SYS_setpriority, SYS_sched_setscheduler, SYS_sched_setparam, SYS_sched_setattr,
    SYS_ioprio_set, SYS_migrate_pages, SYS_move_pages,
    // shared memory, semaphores and queues that other programs of the person use
    SYS_shmget, SYS_shmat, SYS_shmctl, SYS_semget, SYS_semop, SYS_semtimedop, SYS_semctl,
    SYS_msgget, SYS_msgsnd, SYS_msgrcv, SYS_msgctl, SYS_mq_open, SYS_mq_unlink,
    // attributes of files, which Landlock leaves open, and ways round its paths
    SYS_setxattr, SYS_lsetxattr, SYS_fsetxattr, SYS_removexattr, SYS_lremovexattr, SYS_fremovexattr,
    463 /* setxattrat */, 466 /* removexattrat */, SYS_mknodat, SYS_linkat, SYS_symlinkat,
    SYS_name_to_handle_at, SYS_open_by_handle_at,
    // namespaces, mounts and the machine itself
    SYS_unshare, SYS_setns, SYS_mount, SYS_umount2, SYS_pivot_root, SYS_chroot, SYS_move_mount, SYS_open_tree,
    SYS_fsopen, SYS_fsconfig, SYS_fsmount, SYS_fspick, SYS_mount_setattr, SYS_quotactl, SYS_quotactl_fd,
    SYS_swapon, SYS_swapoff, SYS_reboot, SYS_acct, SYS_syslog, SYS_sethostname, SYS_setdomainname,
    SYS_settimeofday, SYS_clock_settime, SYS_adjtimex, SYS_clock_adjtime, SYS_vhangup, SYS_personality,
    SYS_init_module, SYS_finit_module, SYS_delete_module, SYS_kexec_load,
    // wide doors into the kernel
    SYS_bpf, SYS_perf_event_open, SYS_userfaultfd, SYS_fanotify_init, SYS_add_key, SYS_request_key, SYS_keyctl,
    SYS_io_uring_setup, SYS_io_uring_enter, SYS_io_uring_register,
#if defined(__x86_64__)
    SYS_fork, SYS_vfork, SYS_mknod, SYS_link, SYS_symlink, SYS_kexec_file_load, SYS_iopl, SYS_ioperm, SYS_modify_ldt, SYS_uselib, SYS_create_module,
#endif
};

// Permissions, owners and times of files, which Landlock leaves open. A library that copies a file sets them in passing
// and gives up when that fails, so these calls do nothing and say that they did.
constexpr std::uint32_t ignoredCalls[] = {
    SYS_fchmod, SYS_fchmodat, 452 /* fchmodat2 */, SYS_fchown, SYS_fchownat, SYS_utimensat,
#if defined(__x86_64__)
    SYS_chmod, SYS_chown, SYS_lchown, SYS_utime, SYS_utimes, SYS_futimesat,
#endif
};
// clang-format on

constexpr std::uint32_t refuse = SECCOMP_RET_ERRNO | EPERM;

/// Builds a program of the kernel's filter machine. Each rule leaves the number of the call loaded for the next one.
class FilterProgram {
public:
    FilterProgram()
    {
        load(offsetof(seccomp_data, arch));
        jumpIfEqual(ownArchitecture, 1, 0);
        finish(SECCOMP_RET_KILL_PROCESS);
        load(offsetof(seccomp_data, nr));
#if defined(__x86_64__)
        code_.push_back(BPF_JUMP(BPF_JMP | BPF_JGE | BPF_K, firstCallOfX32, 0, 1));
        finish(refuse);
#endif
    }

    void answer(std::uint32_t call, std::uint32_t with)
    {
        jumpIfEqual(call, 0, 1);
        finish(with);
    }

    /// Refuses a call unless its argument has one of the bits.
    void requireBits(std::uint32_t call, unsigned argument, std::uint32_t bits)
    {
        jumpIfEqual(call, 0, 4);
        loadArgument(argument);
        code_.push_back(BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, bits, 1, 0));
        finish(refuse);
        finish(SECCOMP_RET_ALLOW);
    }

    /// Refuses a call unless its argument is one of two values.
    void requireEither(std::uint32_t call, unsigned argument, std::uint32_t first, std::uint32_t second)
    {
        jumpIfEqual(call, 0, 5);
        loadArgument(argument);
        jumpIfEqual(first, 2, 0);
        jumpIfEqual(second, 1, 0);
        finish(refuse);
        finish(SECCOMP_RET_ALLOW);
    }

    /// Refuses a call when its argument has the value.
    void refuseArgument(std::uint32_t call, unsigned argument, std::uint32_t value)
    {
        jumpIfEqual(call, 0, 4);
        loadArgument(argument);
        jumpIfEqual(value, 0, 1);
        finish(refuse);
        finish(SECCOMP_RET_ALLOW);
    }

    /// Refuses a call when the masked bits of its argument are one of two patterns.
    void refusePatterns(std::uint32_t call, unsigned argument, std::uint32_t mask, std::uint32_t first,
                        std::uint32_t second)
    {
        jumpIfEqual(call, 0, 6);
        loadArgument(argument);
        code_.push_back(BPF_STMT(BPF_ALU | BPF_AND | BPF_K, mask));
        jumpIfEqual(first, 2, 0);
        jumpIfEqual(second, 1, 0);
        finish(SECCOMP_RET_ALLOW);
        finish(refuse);
    }

    bool install()
    {
        finish(SECCOMP_RET_ALLOW);
        const sock_fprog program{.len = static_cast<unsigned short>(code_.size()), .filter = code_.data()};
        return ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program, 0, 0) == 0;
    }

private:
    void load(std::size_t offset)
    {
        code_.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset)));
    }
    /// The lower half, which is all that process numbers, options and the flags of interest have.
    void loadArgument(unsigned argument) { load(offsetof(seccomp_data, args) + 8 * argument); }
    void jumpIfEqual(std::uint32_t value, std::uint8_t over, std::uint8_t otherwiseOver)
    {
        code_.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, value, over, otherwiseOver));
    }
    void finish(std::uint32_t with) { code_.push_back(BPF_STMT(BPF_RET | BPF_K, with)); }

    std::vector<sock_filter> code_;
};

/// Before version 3 Landlock did not see a file being emptied by its path, nor by opening it for no writing at all.
void refuseEmptyingForeignFiles(FilterProgram& program)
{
    if (landlockVersion() < landlockVersionOfTruncation)
        program.answer(SYS_truncate, refuse);
    constexpr std::uint32_t mask = O_TRUNC | O_ACCMODE;
    program.refusePatterns(SYS_openat, 2, mask, O_TRUNC | O_RDONLY, O_TRUNC | O_ACCMODE);
#if defined(__x86_64__)
    program.refusePatterns(SYS_open, 1, mask, O_TRUNC | O_RDONLY, O_TRUNC | O_ACCMODE);
#endif
    program.answer(SYS_openat2, SECCOMP_RET_ERRNO | ENOSYS); // its flags lie in memory, where a filter cannot look
}

} // namespace

bool refuseCalls()
{
    const auto self = static_cast<std::uint32_t>(::getpid());
    FilterProgram program;
    for (const std::uint32_t call : refusedCalls)
        program.answer(call, refuse);
    for (const std::uint32_t call : ignoredCalls)
        program.answer(call, SECCOMP_RET_ERRNO);
    // A child may start threads but no processes. The flags of clone3 lie in memory, where a filter cannot look:
    // told that the call does not exist, the C library falls back to clone.
    program.answer(SYS_clone3, SECCOMP_RET_ERRNO | ENOSYS);
    program.requireBits(SYS_clone, 0, CLONE_THREAD);
    program.requireEither(SYS_kill, 0, self, self);
    program.requireEither(SYS_tgkill, 0, self, self);
    program.requireEither(SYS_rt_tgsigqueueinfo, 0, self, self);
    program.requireEither(SYS_prlimit64, 0, 0, self);
    program.requireEither(SYS_sched_setaffinity, 0, 0, self);
    program.refuseArgument(SYS_prctl, 0, PR_SET_PDEATHSIG);
    refuseEmptyingForeignFiles(program);
    return program.install();
}

} // namespace nivex::worker
