#include "NivexWorkers/Host/CallFilter.hpp"

#include "NivexWorkers/Host/FilterProgram.hpp"

#include "NivexKit/Workers/SandboxPosture.hpp"

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/close_range.h>
#include <linux/filter.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

namespace nivex::worker {
namespace {

/// The first call that nobody has looked at: it and all above it "do not exist", which libraries know how to live with.
/// The second set of numbers that x86-64 has for the same calls lies above it, too.
constexpr std::uint32_t firstUnknownCall = 463;

constexpr std::uint32_t refuse = failWith(EPERM);
constexpr std::uint32_t doesNotExist = failWith(ENOSYS);
constexpr std::uint32_t pretend = failWith(0); // does nothing and says that it did

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
    SYS_mknodat, SYS_linkat, SYS_symlinkat, SYS_name_to_handle_at, SYS_open_by_handle_at,
    // memory that the limit of address space does not count
    SYS_memfd_create, SYS_memfd_secret, SYS_io_setup, SYS_io_submit, SYS_io_destroy,
    // watching files of others, which also uses up what all of a person's programs share
    SYS_inotify_init1, SYS_inotify_add_watch, SYS_fanotify_init, SYS_fanotify_mark,
    // namespaces, mounts and the machine itself
    SYS_unshare, SYS_setns, SYS_mount, SYS_umount2, SYS_pivot_root, SYS_chroot, SYS_move_mount, SYS_open_tree,
    SYS_fsopen, SYS_fsconfig, SYS_fsmount, SYS_fspick, SYS_mount_setattr, SYS_quotactl, SYS_quotactl_fd,
    SYS_swapon, SYS_swapoff, SYS_reboot, SYS_acct, SYS_syslog, SYS_sethostname, SYS_setdomainname,
    SYS_settimeofday, SYS_clock_settime, SYS_adjtimex, SYS_clock_adjtime, SYS_vhangup, SYS_personality,
    SYS_init_module, SYS_finit_module, SYS_delete_module, SYS_kexec_load,
    457 /* statmount */, 458 /* listmount */, 459 /* lsm_get_self_attr */, 460 /* lsm_set_self_attr */,
    // wide doors into the kernel
    SYS_bpf, SYS_perf_event_open, SYS_userfaultfd, SYS_add_key, SYS_request_key, SYS_keyctl,
    SYS_io_uring_setup, SYS_io_uring_enter, SYS_io_uring_register,
#if defined(__x86_64__)
    SYS_fork, SYS_vfork, SYS_mknod, SYS_link, SYS_symlink, SYS_inotify_init, SYS_kexec_file_load, SYS_iopl,
    SYS_ioperm, SYS_modify_ldt, SYS_uselib, SYS_create_module,
#endif
};

// Permissions, owners and times of files, which Landlock leaves open. A library that copies a file sets them in passing
// and gives up when that fails. A lock needs no right to write and would keep a person's programs from their file; in
// the folder that the child writes in nobody else is at work. Writing back everybody's data is nobody's need.
constexpr std::uint32_t pretendedCalls[] = {
    SYS_fchmod, SYS_fchmodat, 452 /* fchmodat2 */, SYS_fchown, SYS_fchownat, SYS_utimensat, SYS_flock, SYS_sync,
    SYS_syncfs,
#if defined(__x86_64__)
    SYS_chmod, SYS_chown, SYS_lchown, SYS_utime, SYS_utimes, SYS_futimesat,
#endif
};

// What any file would tell of itself without a right of Landlock. Here no file has such attributes, and no path is a
// link: what looks at them in passing goes on, and the kernel follows links as ever.
constexpr std::uint32_t attributeCalls[] = {
    SYS_getxattr, SYS_lgetxattr, SYS_fgetxattr, SYS_listxattr, SYS_llistxattr, SYS_flistxattr,
};
constexpr std::uint32_t linkCalls[] = {
    SYS_readlinkat,
#if defined(__x86_64__)
    SYS_readlink,
#endif
};

// Access mode 3 asks for no right and yields a descriptor for ioctl; O_ASYNC belongs to signals; and before version 3
// Landlock lets a file be emptied by opening it for no writing at all.
constexpr std::uint32_t openBits = O_ACCMODE | O_TRUNC | O_ASYNC;
template <unsigned flags>
constexpr FilterCase openings[] = {
    {flags, O_RDONLY,           allow, openBits},
    {flags, O_WRONLY,           allow, openBits},
    {flags, O_RDWR,             allow, openBits},
    {flags, O_WRONLY | O_TRUNC, allow, openBits},
    {flags, O_RDWR | O_TRUNC,   allow, openBits},
};

// A descriptor's owner and signal reach any process of the person, a lease holds up whoever opens the file, and the
// size of pipes and seals are memory and rights of others.
constexpr FilterCase descriptorCommands[] = {
    {1, F_DUPFD}, {1, F_DUPFD_CLOEXEC}, {1, F_GETFD}, {1, F_SETFD}, {1, F_GETFL}, {1, F_GETLK}, {1, F_OFD_GETLK},
    {1, F_SETLK, pretend}, {1, F_SETLKW, pretend}, {1, F_OFD_SETLK, pretend}, {1, F_OFD_SETLKW, pretend},
    {2, O_ASYNC, refuse, O_ASYNC}, // what is left is refused or sets flags, of which this is one
    {1, F_SETFL},
};

// Is it a terminal, how much is there to read, is it closed when a program starts: nothing else that descriptors of
// files and devices understand is needed, and much of it asks for no right.
constexpr FilterCase deviceCommands[] = {{1, TCGETS}, {1, FIONREAD}, {1, FIOCLEX}, {1, FIONCLEX}};

// A child may start threads but no processes, and its threads share one table of descriptors, which is bounded.
constexpr FilterCase threads[] = {{0, CLONE_THREAD | CLONE_FILES, allow, CLONE_THREAD | CLONE_FILES}};
constexpr FilterCase closings[] = {{2, 0, allow, CLOSE_RANGE_UNSHARE}};
constexpr FilterCase processOptions[] = {{0, PR_SET_PDEATHSIG, refuse}, {0, PR_SCHED_CORE, refuse}};
// clang-format on

/// Calls on a process: only on the child itself.
void keepToItself(FilterProgram& program)
{
    const auto self = static_cast<std::uint32_t>(::getpid());
    const FilterCase named[] = {{0, self}};
    const FilterCase namedOrMeant[] = {{0, 0}, {0, self}};
    for (const int call : {SYS_kill, SYS_tgkill, SYS_rt_tgsigqueueinfo})
        program.decide(static_cast<std::uint32_t>(call), named, refuse);
    for (const int call : {SYS_prlimit64, SYS_sched_setaffinity})
        program.decide(static_cast<std::uint32_t>(call), namedOrMeant, refuse);
}

} // namespace

bool refuseCalls(int landlockVersion)
{
    FilterProgram program{firstUnknownCall, doesNotExist};
    program.answer(refusedCalls, refuse);
    program.answer(pretendedCalls, pretend);
    program.answer(attributeCalls, failWith(EOPNOTSUPP));
    program.answer(linkCalls, failWith(EINVAL));
    // Their flags lie in memory, where a filter cannot look: the C library falls back to clone and openat.
    program.answer(SYS_clone3, doesNotExist);
    program.answer(SYS_openat2, doesNotExist);
    if (landlockVersion < landlockVersionOfTruncation)
        program.answer(SYS_truncate, refuse);
    program.decide(SYS_openat, openings<2>, refuse);
#if defined(__x86_64__)
    program.decide(SYS_open, openings<1>, refuse);
#endif
    program.decide(SYS_fcntl, descriptorCommands, refuse);
    program.decide(SYS_ioctl, deviceCommands, failWith(ENOTTY));
    program.decide(SYS_clone, threads, refuse);
    program.decide(SYS_close_range, closings, refuse);
    program.decide(SYS_prctl, processOptions, allow);
    keepToItself(program);
    return program.install();
}

} // namespace nivex::worker
