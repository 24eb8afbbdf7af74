#include "NivexKit/Detection/Signatures/TextHead.hpp"
#include "NivexKit/Detection/Signatures/TextShapes.hpp"

#include <algorithm>
#include <string>

namespace nivex::shapes {
namespace {

constexpr auto npos = std::string_view::npos;

/// Follows a JSON text (RFC 8259) as far as the head shows it, without keeping what it says.
class JsonOutline {
public:
    explicit JsonOutline(std::string_view text) : rest_{text} {}

    /// True for an object or array that is well formed up to its end or, unless it must be whole, to the end of the
    /// text.
    bool isWellFormed(bool mustBeWhole)
    {
        if (!rest_.starts_with('{') && !rest_.starts_with('['))
            return false;
        while (true) {
            rest_ = leftTrimmed(rest_);
            if (rest_.empty())
                return open_.empty() || (!mustBeWhole && tokens_ >= enoughTokens);
            if (open_.empty() && tokens_ > 0)
                return false; // something follows the value
            ++tokens_;
            if (!step())
                return !mustBeWhole && rest_.empty() && tokens_ >= enoughTokens; // the head cuts a token
        }
    }

private:
    static constexpr std::size_t enoughTokens = 3;
    static constexpr std::size_t deepest = 256;
    enum class Expected { value, valueOrEnd, key, keyOrEnd, colon, commaOrEnd };

    /// Passes one token; false when it is out of place, malformed or cut.
    bool step()
    {
        const char first = rest_.front();
        switch (expected_) {
        case Expected::keyOrEnd:
            if (first == '}')
                return close();
            [[fallthrough]];
        case Expected::key:
            expected_ = Expected::colon;
            return first == '"' && passString();
        case Expected::colon:
            expected_ = Expected::value;
            return passed(1, first == ':');
        case Expected::commaOrEnd:
            if (first == (open_.back() == '{' ? '}' : ']'))
                return close();
            expected_ = open_.back() == '{' ? Expected::key : Expected::value;
            return passed(1, first == ',');
        case Expected::valueOrEnd:
            if (first == ']')
                return close();
            [[fallthrough]];
        case Expected::value:
            return passValue(first);
        }
        return false;
    }

    bool passValue(char first)
    {
        if (first == '{' || first == '[') {
            if (open_.size() == deepest)
                return false;
            open_.push_back(first);
            expected_ = first == '{' ? Expected::keyOrEnd : Expected::valueOrEnd;
            return passed(1, true);
        }
        expected_ = Expected::commaOrEnd;
        if (first == '"')
            return passString();
        const std::size_t end = std::min(rest_.find_first_of(",]} \t\r\n"), rest_.size());
        const std::string_view word = rest_.substr(0, end);
        if (isAsciiLetter(first))
            return passed(end, word == "true" || word == "false" || word == "null");
        const std::string_view digits = word.substr(first == '-' ? 1 : 0);
        return passed(end, !digits.empty() && isAsciiDigit(digits[0]) &&
                               (digits.size() == 1 || digits[0] != '0' || !isAsciiDigit(digits[1])) &&
                               digits.find_first_not_of("0123456789.eE+-") == npos);
    }

    bool passString()
    {
        for (std::size_t at = 1; at < rest_.size(); ++at) {
            if (rest_[at] == '"')
                return passed(at + 1, true);
            if (static_cast<unsigned char>(rest_[at]) < 0x20)
                return false;
            at += rest_[at] == '\\';
        }
        rest_ = {};
        return false;
    }

    bool close()
    {
        open_.pop_back();
        expected_ = Expected::commaOrEnd;
        return passed(1, true);
    }

    bool passed(std::size_t length, bool isRight)
    {
        const bool isCut = length == rest_.size();
        if (isRight || isCut)
            rest_.remove_prefix(length);
        return isRight;
    }

    std::string_view rest_;
    std::string open_; // the brackets that are open, outermost first
    Expected expected_ = Expected::value;
    std::size_t tokens_ = 0;
};

bool isScene(std::string_view text)
{
    const std::size_t asset = text.find("\"asset\"");
    if (asset == npos) // the asset may stand at the file's end
        return text.find("\"accessors\"") != npos && text.find("\"bufferViews\"") != npos;
    std::string_view value = leftTrimmed(text.substr(asset + 7));
    if (!value.starts_with(':') || !leftTrimmed(value.substr(1)).starts_with('{'))
        return false;
    return value.substr(0, value.find('}')).find("\"version\"") != npos;
}

} // namespace

bool isJson(std::string_view text, bool isWhole) { return JsonOutline{leftTrimmed(text)}.isWellFormed(isWhole); }

std::string_view jsonFormats(std::string_view text)
{
    if (!JsonOutline{text}.isWellFormed(false))
        return {};
    const bool isFeature = text.find("\"Feature\"") != npos && text.find("\"geometry\"") != npos;
    if (isFeature || text.find("\"FeatureCollection\"") != npos)
        return "geojson";
    return isScene(text) ? "gltf" : "json";
}

} // namespace nivex::shapes
