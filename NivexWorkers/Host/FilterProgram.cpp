#include "NivexWorkers/Host/FilterProgram.hpp"

#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>

#include <cstddef>

namespace nivex::worker {
namespace {

#if defined(__x86_64__)
constexpr std::uint32_t ownArchitecture = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
constexpr std::uint32_t ownArchitecture = AUDIT_ARCH_AARCH64;
#else
#error "name the architecture whose system calls are filtered"
#endif

static_assert(allow == SECCOMP_RET_ALLOW && failWith(1) == (SECCOMP_RET_ERRNO | 1));

} // namespace

FilterProgram::FilterProgram(std::uint32_t firstUnknownCall, std::uint32_t answerToUnknown)
{
    load(offsetof(seccomp_data, arch));
    jumpIfEqual(ownArchitecture, 1, 0);
    finish(SECCOMP_RET_KILL_PROCESS);
    load(offsetof(seccomp_data, nr));
    code_.push_back({BPF_JMP | BPF_JGE | BPF_K, 0, 1, firstUnknownCall});
    finish(answerToUnknown);
}

void FilterProgram::answer(std::uint32_t call, std::uint32_t with)
{
    jumpIfEqual(call, 0, 1);
    finish(with);
}

void FilterProgram::answer(std::span<const std::uint32_t> calls, std::uint32_t with)
{
    for (const std::uint32_t call : calls)
        answer(call, with);
}

void FilterProgram::decide(std::uint32_t call, std::span<const FilterCase> cases, std::uint32_t otherwise)
{
    constexpr std::size_t instructionsPerCase = 4;
    jumpIfEqual(call, 0, static_cast<std::uint8_t>(cases.size() * instructionsPerCase + 1));
    for (const FilterCase& each : cases) {
        load(offsetof(seccomp_data, args) + sizeof(std::uint64_t) * each.argument); // the lower half stands first
        code_.push_back({BPF_ALU | BPF_AND | BPF_K, 0, 0, each.mask});
        jumpIfEqual(each.value, 0, 1);
        finish(each.answer);
    }
    finish(otherwise);
}

bool FilterProgram::install()
{
    finish(allow);
    std::vector<sock_filter> code;
    for (const Instruction& each : code_)
        code.push_back({each.code, each.jumpWhenTrue, each.jumpWhenFalse, each.operand});
    const sock_fprog program{.len = static_cast<unsigned short>(code.size()), .filter = code.data()};
    return ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program, 0, 0) == 0;
}

void FilterProgram::load(std::size_t offset)
{
    code_.push_back({BPF_LD | BPF_W | BPF_ABS, 0, 0, static_cast<std::uint32_t>(offset)});
}

void FilterProgram::jumpIfEqual(std::uint32_t value, std::uint8_t over, std::uint8_t otherwiseOver)
{
    code_.push_back({BPF_JMP | BPF_JEQ | BPF_K, over, otherwiseOver, value});
}

void FilterProgram::finish(std::uint32_t with) { code_.push_back({BPF_RET | BPF_K, 0, 0, with}); }

} // namespace nivex::worker
