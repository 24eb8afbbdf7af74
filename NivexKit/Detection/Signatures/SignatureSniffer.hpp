#pragma once

#include "NivexKit/Detection/Signatures/SniffResult.hpp"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace nivex {

/// A constant set of formats.
class FormatSet {
public:
    constexpr explicit FormatSet(std::span<const std::string_view> ids) : ids_{ids} {}

    bool contains(const FormatID& id) const;
    constexpr std::span<const std::string_view> ids() const { return ids_; }

private:
    std::span<const std::string_view> ids_;
};

/// Recognises formats by the first bytes of a file. It never fails and reads constant tables only; any thread may call.
struct SignatureSniffer {
    /// The formats that show a signature of their own: content without it is not a file of that format.
    static const FormatSet formatsWithKnownSignature;

    /// Names the formats that a file's opening bytes fit, likeliest first.
    ///
    /// head     the first bytes of the file: 4096 are enough, fewer are fine, none gives an unknown binary
    /// returns  no candidates when nothing was recognised; text is marked as such all the same
    static SniffResult sniff(std::span<const std::byte> head);

    /// Where `pattern` first lies within the first `limit` bytes of `data`, or within all of it without a limit.
    static std::optional<std::size_t> find(std::span<const std::byte> pattern, std::span<const std::byte> data,
                                           std::optional<std::size_t> limit = std::nullopt);

    /// The bytes as UTF-8 text: UTF-8, or UTF-16 when a byte-order mark opens them; a character cut off by the end of
    /// the head is left out, and so is the mark. None for bytes that are not text: a zero byte, ill-formed UTF-8, or
    /// control characters for a twentieth of the text or more.
    static std::optional<std::string> decodeText(std::span<const std::byte> bytes);
};

} // namespace nivex
