#include "NivexWorkers/Data/Plist/PlistWriter.hpp"

#include "NivexWorkers/Data/Model/Numbers.hpp"
#include "NivexWorkers/Data/Model/Sentences.hpp"
#include "NivexWorkers/Data/Xml/XmlEscape.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"

#include <charconv>
#include <cstdint>

namespace nivex::data {
namespace {

/// Whether a whole number lies between the least signed and the greatest unsigned one of 64 bits.
bool fitsInteger(std::string_view digits)
{
    if (digits.find_first_of(".eE") != digits.npos)
        return false;
    std::uint64_t positive = 0;
    std::int64_t negative = 0;
    const auto* end = digits.data() + digits.size();
    const auto read = digits.starts_with('-') ? std::from_chars(digits.data(), end, negative)
                                              : std::from_chars(digits.data(), end, positive);
    return read.ec == std::errc{};
}

/// "2024-01-31T09:30:00Z"
bool isMomentOfUtc(std::string_view text)
{
    return text.size() == 20 && text[10] == 'T' && text.back() == 'Z' && lookOf(text.substr(0, 10)) == Look::day;
}

} // namespace

PlistWriter::PlistWriter(TextOutput& text, Remarks& remarks) : text_{text}, remarks_{remarks}
{
    text_.put("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
              "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\">\n");
}

void PlistWriter::finish() { text_.put("</plist>\n"); }

void PlistWriter::indent()
{
    for (std::size_t i = 0; i < closings_.size(); ++i)
        text_.put('\t');
}

void PlistWriter::line(std::string_view before, std::string_view content, std::string_view behind)
{
    indent();
    text_.put(before);
    text_.put(escapedXml(content, remarks_));
    text_.put(behind);
    text_.put('\n');
}

void PlistWriter::putKey()
{
    if (hasKey_)
        line("<key>", key_, "</key>");
    hasKey_ = false;
}

void PlistWriter::key(std::string_view name)
{
    key_ = name;
    hasKey_ = true;
}

void PlistWriter::open(std::string_view tag, std::string_view closing)
{
    putKey();
    line(tag, {}, {});
    closings_.push_back(closing);
}

void PlistWriter::close()
{
    const std::string_view closing = closings_.back();
    closings_.pop_back();
    line(closing, {}, {});
}

void PlistWriter::scalar(const Scalar& value)
{
    if (!value.hasValue()) {
        if (hasKey_) {
            hasKey_ = false;
            remarks_.add(sentences::nullMembers());
            return;
        }
        // In a list, what follows would move.
        remarks_.add(sentences::nullElements());
    }
    putKey();
    switch (value.kind) {
    case ScalarKind::boolean:
        line(value.text == "true" ? "<true/>" : "<false/>", {}, {});
        return;
    case ScalarKind::number:
        number(value.text);
        return;
    case ScalarKind::data:
        line("<data>", value.text, "</data>");
        return;
    case ScalarKind::date:
        if (isMomentOfUtc(value.text)) {
            line("<date>", value.text, "</date>");
            return;
        }
        break;
    default:
        break;
    }
    line("<string>", value.text, "</string>");
}

void PlistWriter::number(std::string_view digits)
{
    if (fitsInteger(digits)) {
        line("<integer>", digits, "</integer>");
    } else if (fitsSpreadsheetNumber(digits)) {
        line("<real>", digits, "</real>");
    } else {
        remarks_.add(sentences::numbersAsTexts());
        line("<string>", digits, "</string>");
    }
}

} // namespace nivex::data
