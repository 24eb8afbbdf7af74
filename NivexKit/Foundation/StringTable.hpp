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

enum class Language { french, english };

/// "fr" and "en", and the language that such a code or a locale's name ("en_GB.UTF-8") means; none for any other.
std::string_view storedName(Language language);
std::optional<Language> languageStoredAs(std::string_view stored);

/// The language in which texts are shown: French until the program says otherwise, whatever the system's locale.
/// Any thread.
class StringTable {
public:
    static void use(Language language);
    static Language language();

    struct Row {
        std::string_view french;
        std::string_view english;
    };

    /// Every text with its English wording, sorted by the bytes of the French one.
    static std::span<const Row> english();
};

} // namespace nivex
