#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace nivex::worker {

/// What becomes of a call, as the kernel writes it: it is done, or it fails with an error. The error 0 means that
/// nothing is done and the caller is told that it was.
inline constexpr std::uint32_t allow = 0x7FFF0000;
constexpr std::uint32_t failWith(int error) { return 0x00050000 | static_cast<std::uint32_t>(error); }

/// What becomes of a call when the masked bits of one of its arguments have a value. Only the lower half of an argument
/// is looked at, which is all that process numbers, commands and flags have.
struct FilterCase {
    unsigned argument = 0;
    std::uint32_t value = 0;
    std::uint32_t answer = allow;
    std::uint32_t mask = ~0u;
};

/// A program of the kernel's filter machine that answers system calls. Each rule is for one call, and the first rule
/// for a call decides; calls without a rule are allowed.
class FilterProgram {
public:
    /// Answers all calls from `firstUnknownCall` on alike, and ends a process that calls as another architecture does.
    FilterProgram(std::uint32_t firstUnknownCall, std::uint32_t answerToUnknown);

    void answer(std::uint32_t call, std::uint32_t with);
    void answer(std::span<const std::uint32_t> calls, std::uint32_t with);

    /// The first case that matches decides; `otherwise` when none does.
    void decide(std::uint32_t call, std::span<const FilterCase> cases, std::uint32_t otherwise);

    /// Holds this process and all that it starts to the program, for good. False when the kernel refuses (`errno`).
    bool install();

private:
    struct Instruction { // as the kernel's own sock_filter
        std::uint16_t code;
        std::uint8_t jumpWhenTrue;
        std::uint8_t jumpWhenFalse;
        std::uint32_t operand;
    };

    void load(std::size_t offset);
    void jumpIfEqual(std::uint32_t value, std::uint8_t over, std::uint8_t otherwiseOver);
    void finish(std::uint32_t with);

    std::vector<Instruction> code_; // between two rules the number of the call is loaded
};

} // namespace nivex::worker
