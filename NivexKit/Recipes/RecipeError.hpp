#pragma once

#include <exception>
#include <string>

namespace nivex {

/// Why a recipe cannot be used: one sentence in the language in use.
class RecipeError : public std::exception {
public:
    static RecipeError invalid(std::string message) { return RecipeError{std::move(message)}; }

    const std::string& message() const { return message_; }
    const char* what() const noexcept override { return message_.c_str(); }

private:
    explicit RecipeError(std::string message) : message_{std::move(message)} {}

    std::string message_;
};

} // namespace nivex
