#pragma once

#include <cstddef>
#include <span>
#include <string_view>

/// Tests of binary heads that are more than a comparison with fixed bytes. All take the opening bytes of a file, look
/// at nothing behind them and answer false where they are too few to tell.
namespace nivex::shapes {

using Bytes = std::span<const std::byte>;

/// An ADTS frame header and, where the head reaches it, the same one again at the next frame.
bool isAdtsFrame(Bytes head);

/// A frame header of MPEG audio, layer II or III, and, where the head reaches it, a second frame of its kind.
bool isMpegAudioFrame(Bytes head);

/// `count` such frames one behind the other.
bool hasMpegAudioFrames(Bytes stream, int count);

/// Sync bytes at every packet of 188 bytes, and of 192 bytes with a timestamp before each.
bool isTransportStream(Bytes head);
bool isTimestampedTransportStream(Bytes head);

/// The mark of an Embedded OpenType header behind its version, as far as the head reaches.
bool isEmbeddedOpenType(Bytes head);

/// A font of at least one table, as far as the head reaches.
bool hasFontTables(Bytes head);

/// PostScript by Illustrator that does not call itself encapsulated: its own files of old.
bool isIllustratorPostScript(Bytes head);

/// A polygon file whose elements are binary.
bool isBinaryPly(Bytes head);

/// A triangle count and facets with plausible normals.
bool isBinaryStl(Bytes head);

/// A Targa header; that format has no signature, so every field has to make sense.
bool isTarga(Bytes head);

/// The formats of an ISO base media file by its brands, as words.
std::string_view isoMediaFormats(Bytes head);

} // namespace nivex::shapes
