#pragma once

#include "NivexKit/Formats/FileFormat.hpp"

#include <initializer_list>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace nivex {

/// A list of formats, indexed by identifier, extension and type identifier. Immutable once built; any thread may read.
/// The pointers it hands out live as long as the registry.
class FormatRegistry {
public:
    explicit FormatRegistry(std::vector<FileFormat> formats);
    FormatRegistry(const FormatRegistry&) = delete;
    FormatRegistry& operator=(const FormatRegistry&) = delete;

    /// The registry of the whole catalogue, built on first use.
    static const FormatRegistry& standard();

    std::span<const FileFormat> formats() const { return formats_; }

    /// The format of that identifier; null when unknown.
    const FileFormat* format(const FormatID& id) const;

    /// Every format that carries the extension (any case, without the dot), in catalogue order.
    std::vector<const FileFormat*> formats(std::string_view forExtension) const;

    /// The first format of the extension that the extension alone may select; null when there is none.
    const FileFormat* declared(std::string_view forExtension) const;

    /// The format of a uniform type identifier, or the first one of a type that it conforms to; null when none.
    const FileFormat* formatForTypeIdentifier(std::string_view identifier) const;

    /// Every format of the family, in catalogue order.
    std::vector<const FileFormat*> formats(FormatFamily in) const;

    /// Those of `ids` that this registry knows, in the order given.
    std::vector<FileFormat> known(std::initializer_list<std::string_view> ids) const;

private:
    struct TextHash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
    };
    template <class Value>
    using Index = std::unordered_map<std::string, Value, TextHash, std::equal_to<>>;

    std::vector<FileFormat> formats_;
    Index<const FileFormat*> byId_;
    Index<std::vector<const FileFormat*>> byExtension_;
    Index<const FileFormat*> byTypeIdentifier_;
};

} // namespace nivex
