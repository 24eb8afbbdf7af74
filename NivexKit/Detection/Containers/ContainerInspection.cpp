#include "NivexKit/Detection/Containers/ContainerInspection.hpp"

#include "NivexKit/Detection/Containers/ContainerInspectors.hpp"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace nivex {
namespace {

using Inspector = ContainerFinding (*)(const ByteSource&, const SniffResult&);

struct ContainerRow {
    ContainerKind container;
    Inspector inspect;
};

struct CandidateRow {
    std::string_view firstCandidate;
    Inspector inspect;
};

// clang-format off
constexpr ContainerRow byContainer[] = {
    {ContainerKind::zip,               inspectors::zip},
    {ContainerKind::tiff,              inspectors::tiff},
    {ContainerKind::isoMediaFile,      inspectors::isoMedia},
    {ContainerKind::asf,               inspectors::asf},
    {ContainerKind::mpegProgramStream, inspectors::programStream},
    {ContainerKind::ole2,              inspectors::ole2},
    {ContainerKind::gzip,              inspectors::gzip},
    {ContainerKind::rar,               inspectors::rar},
    {ContainerKind::pdf,               inspectors::pdf},
    {ContainerKind::postScript,        inspectors::postScript},
    {ContainerKind::sqlite,            inspectors::sqlite},
    {ContainerKind::hdf5,              inspectors::hdf5},
    {ContainerKind::executable,        inspectors::program},
    {ContainerKind::las,               inspectors::pointCloud},
    {ContainerKind::mobi,              inspectors::mobi},
    {ContainerKind::subStation,        inspectors::subStation},
};

// For content that the sniffer assigns to no container.
constexpr CandidateRow byFirstCandidate[] = {
    {"ico",  inspectors::icon},
    {"stl",  inspectors::facets},
    {"mp3",  inspectors::taggedSound},
    {"ogg",  inspectors::ogg},
    {"opus", inspectors::ogg},
    {"mkv",  inspectors::matroska},
    {"webm", inspectors::matroska},
    {"7z",   inspectors::sevenZip},
    {"zst",  inspectors::zstandard},
    // The first bytes of a disk image may be those of its first compressed block.
    {"bz2",  inspectors::diskImage},
    {"xz",   inspectors::diskImage},
};
// clang-format on

Inspector inspectorFor(const SniffResult& sniff)
{
    for (const ContainerRow& row : byContainer)
        if (row.container == sniff.container)
            return row.inspect;
    if (sniff.isUnknown())
        return sniff.isText ? nullptr : inspectors::diskImage;
    for (const CandidateRow& row : byFirstCandidate)
        if (sniff.candidates.front() == row.firstCandidate)
            return row.inspect;
    return nullptr;
}

} // namespace

ContainerFinding inspectContainer(const ByteSource& source, const SniffResult& sniff)
{
    const Inspector inspect = inspectorFor(sniff);
    return inspect ? inspect(source, sniff) : ContainerFinding{};
}

} // namespace nivex
