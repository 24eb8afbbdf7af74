#include "NivexKit/Detection/Signatures/SniffResult.hpp"

#include "NivexKit/Foundation/EnumTable.hpp"

namespace nivex {
namespace {

struct KindRow {
    ContainerKind value;
    std::string_view stored;
};

constexpr KindRow kinds[] = {
    {ContainerKind::tiff, "tiff"},
    {ContainerKind::zip, "zip"},
    {ContainerKind::isoMediaFile, "isoMediaFile"},
    {ContainerKind::riff, "riff"},
    {ContainerKind::asf, "asf"},
    {ContainerKind::mpegProgramStream, "mpegProgramStream"},
    {ContainerKind::ole2, "ole2"},
    {ContainerKind::gzip, "gzip"},
    {ContainerKind::rar, "rar"},
    {ContainerKind::pdf, "pdf"},
    {ContainerKind::postScript, "postScript"},
    {ContainerKind::sqlite, "sqlite"},
    {ContainerKind::hdf5, "hdf5"},
    {ContainerKind::executable, "executable"},
    {ContainerKind::las, "las"},
    {ContainerKind::affinity, "affinity"},
    {ContainerKind::mobi, "mobi"},
    {ContainerKind::iWork, "iWork"},
    {ContainerKind::json, "json"},
    {ContainerKind::subStation, "subStation"},
};
static_assert(inCaseOrder(kinds, ContainerKind::subStation));

} // namespace

std::string_view storedName(ContainerKind kind) { return rowOf(kinds, kind).stored; }

std::optional<ContainerKind> containerStoredAs(std::string_view stored) { return caseStoredAs(kinds, stored); }

} // namespace nivex
