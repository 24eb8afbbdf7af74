#include "NivexKit/Detection/Containers/ContainerInspectors.hpp"
#include "NivexKit/Detection/Containers/InspectorSupport.hpp"
#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

namespace nivex::inspectors {

using Candidates = std::vector<FormatID>;

/// A drawing saved with a PDF for others to read: its own data are private to the program.
Finding pdf(const ByteSource& source, const SniffResult& sniff)
{
    constexpr std::size_t pieceBytes = 64 << 10;
    const std::string pieces = textAt(source, 0, pieceBytes) + textAtEnd(source, pieceBytes);
    const bool isOpenedByIt = !sniff.candidates.empty() && sniff.candidates.front() == "ai";
    if (isOpenedByIt || contains(pieces, "/AIPrivateData") || contains(pieces, "/AIMetaData"))
        return {.candidates = Candidates{"ai", "pdf"}};
    if (contains(pieces, "Illustrator"))
        return {.candidates = Candidates{"pdf", "ai"}};
    return {.candidates = Candidates{"pdf"}};
}

Finding postScript(const ByteSource& source, const SniffResult&)
{
    const std::string head = textAt(source, 0, 4'096);
    const std::string_view firstLine = std::string_view{head}.substr(0, head.find_first_of("\r\n"));
    if (!contains(head, "Creator: Adobe Illustrator"))
        return {};
    if (contains(firstLine, "EPSF"))
        return {.candidates = Candidates{"eps", "ai"}};
    return {.candidates = Candidates{"ai", "eps"}};
}

Finding mobi(const ByteSource& source, const SniffResult&)
{
    constexpr std::uint64_t firstRecordEntry = 78;
    const auto entry = source.read(firstRecordEntry, std::size_t{4});
    ByteReader offset{entry, ByteOrder::big};
    const auto bytes = source.read(offset.u32(), std::size_t{40});
    ByteReader record{bytes, ByteOrder::big};
    record.seek(12);
    const bool isEncrypted = record.u16() != 0;
    record.seek(36);
    const std::uint32_t version = record.u32();
    if (record.failed())
        return {};
    if (version >= 8)
        return {.candidates = Candidates{"azw3", "azw", "mobi"}, .isEncrypted = isEncrypted};
    return {.candidates = Candidates{"mobi", "azw", "azw3"}, .isEncrypted = isEncrypted};
}

Finding subStation(const ByteSource& source, const SniffResult&)
{
    const std::string head = textAt(source, 0, 4'096);
    if (contains(head, "[V4+ Styles]") || contains(head, "v4.00+"))
        return {.candidates = Candidates{"ass", "ssa"}};
    if (contains(head, "[V4 Styles]") || contains(head, "v4.00"))
        return {.candidates = Candidates{"ssa", "ass"}};
    return {};
}

} // namespace nivex::inspectors
