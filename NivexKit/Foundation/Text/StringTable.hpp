#pragma once

#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace nivex {

/// A text that a person can read. The French wording is both the default and the key under which other languages are
/// looked up, so it is pasted as it stands and marked with `_fr`; a test collects every marked text and compares the
/// list with the language tables.
struct Text {
    std::string_view french;

    /// The text in the language in use.
    std::string localized() const;
    operator std::string() const { return localized(); }

    bool operator==(const Text&) const = default;
};

inline namespace literals {
consteval Text operator""_fr(const char* text, std::size_t length) { return {{text, length}}; }
} // namespace literals

/// `pattern` in the language in use, each "{}" replaced by the next of `values`.
std::string filled(Text pattern, std::initializer_list<std::string_view> values);

/// The language in which texts are shown: French until the program says otherwise, whatever the system's locale.
/// Any thread.
class StringTable {
public:
    struct Row {
        std::string_view french;
        std::string_view translation;
    };

    /// The texts of one language, sorted by the bytes of the French wording.
    using Translation = std::span<const Row>;

    /// Shows texts in `translation`, which must outlive the program's threads, or in French where there is none. A text
    /// without a row stays French.
    static void use(const Translation* translation);
    static const Translation* inUse();
};

} // namespace nivex
