#pragma once

#include "NivexWorkers/Data/Model/TreeEvents.hpp"
#include "NivexWorkers/Data/Text/TextSource.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace nivex::data {

/// Reads values of JSON (RFC 8259) one after the other from a text of any size, without recursion.
class JsonParser {
public:
    /// progress  called whenever more of the text has been read
    explicit JsonParser(
        TextSource& text, std::function<void()> progress = [] {});

    /// Tells the next value. Throws unreadableSource with the line of the first mistake, and resourceLimit for nesting
    /// beyond `maxDepth` of the levels inside `outerLevels`.
    void value(TreeEvents& events, std::size_t outerLevels = 0);

    /// Whether nothing but white space is left.
    bool isAtEnd();

    /// What is wrong where the reading stands.
    ConversionError mistake(std::string_view cause) const;

private:
    enum class Next : unsigned char { value, valueOrEnd, keyOrEnd, key, separatorOrEnd, done };

    [[noreturn]] void fail(std::string_view cause) const;
    bool fill();
    /// The next character; zero at the end.
    char peek();
    char take();
    char afterSpace();
    void require(char expected);

    Next begin(char first, TreeEvents& events, std::size_t outerLevels);
    Next end(TreeEvents& events);
    Next key(TreeEvents& events);
    void word(char first, TreeEvents& events);
    void number(TreeEvents& events);
    std::string_view string();
    void escape();
    void endHalf();
    std::uint32_t unit();

    TextSource& text_;
    std::function<void()> progress_;
    std::vector<char> buffer_;
    std::size_t at_ = 0;
    std::size_t end_ = 0;
    std::uint64_t linesBefore_ = 0; // of the buffers that are gone
    std::vector<bool> levels_;      // true for an object
    std::string gathered_;          // a string or number that is no single part of the buffer
    char32_t half_ = 0;             // of a surrogate pair, which an escape began
};

} // namespace nivex::data
