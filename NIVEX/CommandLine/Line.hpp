#pragma once

#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace nivex::commandline {

/// What a part of a line means; the console picks the colour, where colours are wanted.
enum class Meaning {
    plain,
    name,    // what the line speaks of
    success, // what is there now
    warning, // something will be or was lost
    failure, // something was not done
    aside,   // what a person may skip
};

/// One line for a person, in parts that mean something. The texts may hold anything, names of files as the disk has
/// them included: the console sees to it that they are only shown.
class Line {
public:
    struct Part {
        Meaning meaning = Meaning::plain;
        std::string text;
    };

    Line(std::string text) : Line{Meaning::plain, std::move(text)} {}
    Line(std::string_view text) : Line{std::string{text}} {}
    Line(const char* text) : Line{std::string{text}} {}
    Line(Text text) : Line{text.localized()} {}
    Line(Meaning meaning, std::string text) { parts_.push_back({meaning, std::move(text)}); }

    Line& operator+=(Line more)
    {
        for (Part& part : more.parts_)
            parts_.push_back(std::move(part));
        return *this;
    }
    friend Line operator+(Line first, Line second) { return std::move(first += std::move(second)); }

    const std::vector<Part>& parts() const { return parts_; }

private:
    std::vector<Part> parts_;
};

inline Line emphasized(std::string text) { return {Meaning::name, std::move(text)}; }
inline Line succeeded(std::string text) { return {Meaning::success, std::move(text)}; }
inline Line warned(std::string text) { return {Meaning::warning, std::move(text)}; }
inline Line failed(std::string text) { return {Meaning::failure, std::move(text)}; }

} // namespace nivex::commandline
