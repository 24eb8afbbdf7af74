#include "NivexWorkers/Data/Plist/PlistReader.hpp"

#include "NivexWorkers/Data/Model/Errors.hpp"
#include "NivexWorkers/Data/Model/Numbers.hpp"
#include "NivexWorkers/Data/Plist/BinaryPlist.hpp"
#include "NivexWorkers/Data/Xml/XmlReader.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <charconv>
#include <string>
#include <vector>

namespace nivex::data {
namespace {

ConversionError invalid(std::string_view cause)
{
    return ConversionError::unreadableSource("liste de propriétés invalide"_fr).because(cause);
}

/// Makes values of the elements of an XML property list.
class Values final : public XmlEvents {
public:
    explicit Values(TreeEvents& events) : events_{events} {}

    bool hasValue() const { return hasValue_; }

    void begin(std::string_view name, const XmlAttributes&) override
    {
        if (name == "plist" && !hasValue_ && levels_.empty())
            return;
        if (isScalar_)
            throw invalid("element inside a value");
        text_.clear();
        if (name == "key") {
            if (levels_.empty() || !levels_.back().isDictionary || levels_.back().hasKey)
                throw invalid("key out of place");
            isScalar_ = true;
            return;
        }
        beginValue();
        if (name == "dict") {
            events_.beginObject();
            levels_.push_back({.isDictionary = true});
        } else if (name == "array") {
            events_.beginArray();
            levels_.push_back({});
        } else {
            isScalar_ = true;
        }
    }

    void end(std::string_view name) override
    {
        if (name == "plist")
            return;
        isScalar_ = false;
        if (name == "key") {
            events_.key(text_);
            levels_.back().hasKey = true;
        } else if (name == "dict") {
            if (levels_.back().hasKey)
                throw invalid("key without a value");
            levels_.pop_back();
            events_.endObject();
        } else if (name == "array") {
            levels_.pop_back();
            events_.endArray();
        } else {
            scalar(name);
        }
    }

    void text(std::string_view part) override
    {
        if (isScalar_)
            text_ += part;
    }

private:
    struct Level {
        bool isDictionary = false;
        bool hasKey = false;
    };

    void beginValue()
    {
        if (levels_.empty()) {
            if (hasValue_)
                throw invalid("second value");
            hasValue_ = true;
        } else if (levels_.back().isDictionary) {
            if (!levels_.back().hasKey)
                throw invalid("value without a key");
            levels_.back().hasKey = false;
        }
    }

    void scalar(std::string_view name)
    {
        const std::string_view content = trimmed(text_);
        if (name == "string")
            events_.scalar({ScalarKind::text, text_});
        else if (name == "true" || name == "false")
            events_.scalar({ScalarKind::boolean, name});
        else if (name == "integer")
            integer(content);
        else if (name == "real")
            real(content);
        else if (name == "date")
            events_.scalar({ScalarKind::date, content});
        else if (name == "data") {
            std::erase_if(text_, isAsciiSpace);
            events_.scalar({ScalarKind::data, text_});
        } else {
            throw invalid("element " + std::string{name});
        }
    }

    void integer(std::string_view digits)
    {
        if (digits.starts_with('+'))
            digits.remove_prefix(1);
        if (isJsonNumber(digits) && digits.find_first_of(".eE") == digits.npos) {
            events_.scalar({ScalarKind::number, digits});
            return;
        }
        const bool isHexadecimal = startsIgnoringCase(digits, "0x");
        std::int64_t value = 0;
        const auto* end = digits.data() + digits.size();
        const auto read = std::from_chars(digits.data() + (isHexadecimal ? 2 : 0), end, value, isHexadecimal ? 16 : 10);
        if (read.ec != std::errc{} || read.ptr != end)
            throw invalid("integer");
        events_.scalar({ScalarKind::number, std::to_string(value)});
    }

    void real(std::string_view digits)
    {
        if (isJsonNumber(digits)) {
            events_.scalar({ScalarKind::number, digits});
            return;
        }
        if (digits.starts_with('+'))
            digits.remove_prefix(1);
        double value = 0;
        const auto* end = digits.data() + digits.size();
        const auto read = std::from_chars(digits.data(), end, value);
        if (read.ec != std::errc{} || read.ptr != end)
            throw invalid("real number");
        if (const auto number = shortestNumber(value))
            events_.scalar({ScalarKind::number, *number});
        else
            events_.scalar({ScalarKind::text, value != value ? "NaN" : value > 0 ? "Infinity" : "-Infinity"});
    }

    TreeEvents& events_;
    std::vector<Level> levels_;
    std::string text_;
    bool isScalar_ = false; // inside an element that holds text
    bool hasValue_ = false;
};

} // namespace

void readPlist(const Input& input, TreeEvents& events)
{
    if (isBinaryPlist(input.bytes)) {
        readBinaryPlist(input.bytes, events);
        return;
    }
    Values values{events};
    std::uint64_t position = 0;
    readXml(
        [&](std::span<char> buffer) {
            const std::size_t count = input.bytes.read(position, std::as_writable_bytes(buffer));
            position += count;
            input.progress(static_cast<double>(position) /
                           static_cast<double>(std::max<std::uint64_t>(input.bytes.size(), 1)));
            return count;
        },
        values);
    if (!values.hasValue())
        throw nothingToConvert();
}

} // namespace nivex::data
