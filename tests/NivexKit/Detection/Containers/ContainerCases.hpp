#pragma once

#include "NivexKit/Detection/Containers/ContainerInspection.hpp"
#include "tests/Support/Bytes.hpp"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

namespace nivex::testing {

/// One container, and what the look inside is to tell: the formats separated by spaces, "-" for nothing new, and
/// " encrypted" behind them.
struct ContainerCase {
    const char* name;
    std::vector<std::byte> file;
    std::string finding;
};

inline std::string described(const ContainerFinding& finding)
{
    std::string text = finding.candidates ? "" : "-";
    if (finding.candidates)
        for (const FormatID& id : *finding.candidates)
            text += (text.empty() ? "" : " ") + id.rawValue;
    return text + (finding.isEncrypted ? " encrypted" : "");
}

/// Inspects every file as content that was sniffed so; and every beginning of it, which must tell something or nothing,
/// but never read outside.
inline void expectFindings(const SniffResult& sniff, std::initializer_list<ContainerCase> cases)
{
    for (const ContainerCase& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(described(inspectContainer(MemorySource{each.file}, sniff)), each.finding);
        for (std::size_t size = 0; size < each.file.size(); size += 1 + each.file.size() / 50)
            inspectContainer(MemorySource{std::span{each.file}.first(size)}, sniff);
    }
}

inline SniffResult sniffed(ContainerKind container) { return {.candidates = {}, .container = container}; }
inline SniffResult sniffed(std::string_view candidate) { return {.candidates = {candidate}, .container = {}}; }

/// The number in `width` bytes, the most significant one first.
inline std::vector<std::byte> bigEndian(std::uint64_t value, int width)
{
    std::vector<std::byte> result;
    for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
        result.push_back(static_cast<std::byte>(value >> shift));
    return result;
}

inline std::vector<std::byte> littleEndian(std::uint64_t value, int width)
{
    std::vector<std::byte> result = bigEndian(value, width);
    return {result.rbegin(), result.rend()};
}

} // namespace nivex::testing
