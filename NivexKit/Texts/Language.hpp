#pragma once

#include <optional>
#include <string_view>

namespace nivex {

/// A language in which the texts of NIVEX can be shown.
enum class Language { french, english };

/// "fr" and "en", and the language that such a code or a locale's name ("en_GB.UTF-8") means; none for any other.
std::string_view storedName(Language language);
std::optional<Language> languageStoredAs(std::string_view stored);

/// From now on texts are shown in `language`. Any thread.
void showTextsIn(Language language);
Language shownLanguage();

} // namespace nivex
