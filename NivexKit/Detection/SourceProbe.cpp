#include "NivexKit/Detection/SourceProbe.hpp"

#include "NivexKit/Detection/Images/ImageHeader.hpp"
#include "NivexKit/Detection/Pdf/PdfScan.hpp"

#include <algorithm>

namespace nivex {
namespace {

class ImageHeaderProbe final : public SourceProbe {
public:
    ProbeReport probe(const ProbeSource& source, SourceProperties& properties) const override
    {
        return {.isConfirmed = readImageHeader(source.format, source.bytes, properties)};
    }
};

class PdfProbe final : public SourceProbe {
public:
    ProbeReport probe(const ProbeSource& source, SourceProperties& properties) const override
    {
        const PdfFacts facts = scanPdf(source.bytes);
        properties.pageCount = facts.pageCount;
        properties.isEncrypted = facts.needsPassword;
        ProbeReport report{.isConfirmed = facts.pageCount.has_value()};
        if (facts.needsPassword.value_or(false))
            report.issue = DetectionIssue::encrypted().because("/Encrypt: the empty password does not open it");
        return report;
    }
};

SourceProbes builtInProbes()
{
    SourceProbes probes;
    probes.add(std::make_shared<ImageHeaderProbe>(), formatsWithImageHeader());
    const FormatID pdfFormats[] = {"pdf", "ai"};
    probes.add(std::make_shared<PdfProbe>(), pdfFormats);
    return probes;
}

} // namespace

void SourceProbes::add(std::shared_ptr<const SourceProbe> probe, std::span<const FormatID> formats)
{
    for (const FormatID& format : formats)
        byFormat_[format].push_back(probe);
}

std::span<const std::shared_ptr<const SourceProbe>> SourceProbes::of(const FormatID& format) const
{
    const auto found = byFormat_.find(format);
    if (found == byFormat_.end())
        return {};
    return found->second;
}

const SourceProbes& SourceProbes::builtIn()
{
    static const SourceProbes probes = builtInProbes();
    return probes;
}

const SourceProbes& SourceProbes::none()
{
    static const SourceProbes probes;
    return probes;
}

} // namespace nivex
