#include "tests/NivexKit/Detection/Containers/ContainerCases.hpp"

namespace nivex {
namespace {

using testing::bigEndian;
using testing::bytes;
using testing::expectFindings;
using testing::joined;
using testing::littleEndian;
using testing::repeated;
using testing::sniffed;
using testing::textBytes;
using Bytes = std::vector<std::byte>;

Bytes box(std::string_view type, const Bytes& content)
{
    return joined({bigEndian(content.size() + 8, 4), textBytes(type), content});
}

Bytes track(std::string_view handler, std::string_view codec)
{
    const Bytes hdlr = box("hdlr", joined({repeated(0, 8), textBytes(handler), repeated(0, 12)}));
    const Bytes stsd = box("stsd", joined({repeated(0, 7), bytes("01"), box(codec, repeated(0, 20))}));
    return box("trak",
               joined({box("tkhd", repeated(0, 84)), box("mdia", joined({hdlr, box("minf", box("stbl", stsd))}))}));
}

Bytes film(std::initializer_list<Bytes> tracks, std::string_view brand = "isom")
{
    return joined({brand.empty() ? Bytes{} : box("ftyp", joined({textBytes(brand), repeated(0, 4)})),
                   box("mdat", repeated(0, 100)),
                   box("moov", joined({box("mvhd", repeated(0, 100)), joined(tracks)}))});
}

TEST(IsoMediaContents, TellsFilmFromSoundByTheTracks)
{
    const Bytes picture = track("vide", "avc1");
    const Bytes sound = track("soun", "mp4a");
    const Bytes lossless = track("soun", "alac");
    SniffResult open = sniffed(ContainerKind::isoMediaFile);
    open.candidates = {"mp4", "m4a", "m4v", "mov", "alac", "3gp"};
    expectFindings(open, {
                             {"film", film({picture, sound}), "mp4 m4v mov 3gp m4a"},
                             {"film that states no brand", film({sound, picture}, ""), "mov mp4 m4v 3gp"},
                             {"sound", film({sound}), "m4a mov 3gp m4v"},
                             {"lossless sound", film({lossless}), "alac mov"},
                             {"protected film", film({track("vide", "encv")}), "mp4 m4v mov 3gp m4a encrypted"},
                             {"nothing but text", film({track("text", "tx3g")}), "-"},
                             {"boxes that end before they begin", repeated(0xFF, 100), "-"},
                         });
    const auto branded = [](std::string_view candidate) {
        return SniffResult{.candidates = {candidate}, .container = ContainerKind::isoMediaFile};
    };
    expectFindings(branded("m4a"), {{"sound", film({sound}, "M4A "), "m4a"},
                                    {"lossless sound", film({lossless}, "M4A "), "alac"},
                                    {"protected sound", film({track("soun", "drms")}, "M4P "), "m4a encrypted"}});
    expectFindings(branded("3gp"), {{"film of a telephone", film({picture}, "3gp4"), "3gp mp4"}});
    expectFindings(branded("mov"), {{"film", film({picture}, "qt  "), "-"}});
    expectFindings(branded("heic"), {{"picture", film({picture}, "heic"), "-"}});
}

/// The first page of a stream.
Bytes page(std::string_view packet, int flags = 2)
{
    return joined({textBytes("OggS"), bytes("00"), bigEndian(static_cast<unsigned>(flags), 1), repeated(0, 20),
                   bytes("01"), bigEndian(packet.size(), 1), textBytes(packet)});
}

TEST(MediaContents, ReadsTheHeadersOfStreams)
{
    const std::string opus = "OpusHead\x01";
    expectFindings(sniffed("opus"), {
                                        {"speech", joined({page(opus), page("OpusTags", 0)}), "opus ogg"},
                                        {"film with speech", joined({page("\x80theora"), page(opus)}), "ogg"},
                                        {"music whose comment names the other codec",
                                         joined({page("\x01vorbis"), page("OpusHead", 0)}), "ogg"},
                                    });
    const Bytes head = bytes("1A 45 DF A3 93 42 86 81 01");
    expectFindings(
        sniffed("mkv"),
        {
            {"web film", joined({head, bytes("42 82 88"), textBytes("webm"), repeated(0, 4)}), "webm"},
            {"film", joined({head, bytes("42 82 88"), textBytes("matroska")}), "mkv"},
            {"the word outside of the header", joined({bytes("1A 45 DF A3 84 42 86 81 01"), textBytes("webm")}), "-"},
            {"a length beyond the file", bytes("1A 45 DF A3 01 FF FF FF FF FF FF FF 42 82 FF"), "-"},
        });
    const Bytes tag = joined({textBytes("ID3"), bytes("04 00 00 00 00 01 02"), repeated('t', 130)});
    const Bytes adts = bytes("FF F1 50 80 01 3F FC 00 00");
    const Bytes asfHead = joined({bytes("30 26 B2 75 8E 66 CF 11"), repeated(0, 30)});
    const Bytes streamTail = bytes("5B 4D CF 11 A8 FD 00 80 5F 5C 44 2B");
    const Bytes sound = bytes("40 9E 69 F8 4D 5B CF 11 A8 FD 00 80 5F 5C 44 2B");
    const Bytes picture = bytes("C0 EF 19 BC 4D 5B CF 11 A8 FD 00 80 5F 5C 44 2B");
    const Bytes locked = bytes("FB B3 11 22 23 BD D2 11 B4 B7 00 A0 C9 55 FC 6E");
    const Bytes list = joined({repeated(1, 16), littleEndian(70'000, 8), repeated(0, 70'000 - 24)});
    const Bytes stream = joined({repeated(2, 16), littleEndian(80, 8), picture, repeated(0, 40)});
    const Bytes distant = joined({bytes("30 26 B2 75 8E 66 CF 11"), repeated(0, 22), list, stream});
    expectFindings(sniffed("mp3"),
                   {
                       {"tag in front of frames", joined({tag, bytes("FF FB 90 00"), repeated(0, 413)}), "-"},
                       {"tag in front of another stream", joined({tag, adts, adts}), "aac"},
                       {"tag in front of what nobody converts", joined({tag, textBytes("TTA1")}), ""},
                       {"no tag", bytes("FF FB 90 00"), "-"},
                   });
    expectFindings(sniffed(ContainerKind::asf),
                   {
                       {"sound", joined({asfHead, sound}), "wma wmv"},
                       {"film", joined({asfHead, sound, picture}), "wmv"},
                       {"protected film", joined({asfHead, picture, locked}), "wmv encrypted"},
                       {"neither", joined({asfHead, streamTail}), "-"},
                       {"a film behind a long list", distant, "wmv"},
                   });
    const Bytes pack = joined({bytes("00 00 01 BA"), repeated(0x44, 10)});
    const Bytes frames = joined({bytes("00 00 01 E0 00 00 80"), repeated(0x11, 20)});
    const Bytes navigation = joined({bytes("00 00 01 BF 03 D4"), repeated(0x11, 20)});
    const Bytes subtitle = joined({bytes("00 00 01 BD 00 20 81 80 02 11 11 20"), repeated(0x11, 20)});
    const Bytes dolby = joined({bytes("00 00 01 BD 00 20 81 80 02 11 11 80"), repeated(0x11, 20)});
    expectFindings(sniffed(ContainerKind::mpegProgramStream),
                   {
                       {"film", joined({pack, frames}), "mpeg vob"},
                       {"film of a disc", joined({pack, navigation, frames, subtitle}), "vob mpeg"},
                       {"subtitles", joined({pack, subtitle}), "sub"},
                       {"sound or subtitles, behind the head", joined({pack, pack}), "mpeg vob sub"},
                       {"sound", joined({pack, dolby}), "mpeg vob"},
                       {"a start code at the very end", joined({pack, bytes("00 00 01")}), "mpeg vob sub"},
                   });
}

} // namespace
} // namespace nivex
