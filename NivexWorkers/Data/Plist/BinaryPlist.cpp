#include "NivexWorkers/Data/Plist/BinaryPlist.hpp"

#include "NivexWorkers/Data/Model/Base64.hpp"
#include "NivexWorkers/Data/Model/Errors.hpp"
#include "NivexWorkers/Data/Model/Numbers.hpp"

#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <bit>
#include <chrono>
#include <cmath>
#include <string>
#include <vector>

namespace nivex::data {
namespace {

constexpr std::size_t trailerSize = 32;
constexpr std::size_t maxValueBytes = 64 << 20; // of one text or block of bytes
constexpr std::size_t maxValues = 20'000'000;   // that are told, an object again for each place that refers to it

ConversionError invalid(std::string_view cause)
{
    return ConversionError::unreadableSource("liste de propriétés invalide"_fr).because(cause);
}

std::string asReal(double value)
{
    std::string text = shortestNumber(value).value_or("");
    if (text.find_first_of(".e") == text.npos)
        text += ".0"; // a real number stays one
    return text;
}

std::string asMoment(double secondsFrom2001)
{
    constexpr double longest = 2.5e11; // about 8,000 years
    if (!(std::abs(secondsFrom2001) < longest))
        throw invalid("date out of range");
    using namespace std::chrono;
    const sys_seconds moment =
        sys_days{year{2001} / 1 / 1} + seconds{static_cast<std::int64_t>(std::floor(secondsFrom2001))};
    const auto day = floor<days>(moment);
    const year_month_day date{day};
    const hh_mm_ss time{moment - day};
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", int{date.year()}, unsigned{date.month()},
                  unsigned{date.day()}, static_cast<int>(time.hours().count()),
                  static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()));
    return text;
}

class Reader {
public:
    Reader(const ByteSource& bytes, TreeEvents& events) : bytes_{bytes}, events_{events}
    {
        if (bytes.size() < trailerSize + 8)
            throw invalid("no room for a trailer");
        const std::uint64_t trailer = bytes.size() - trailerSize;
        offsetSize_ = static_cast<std::size_t>(number(trailer + 6, 1));
        referenceSize_ = static_cast<std::size_t>(number(trailer + 7, 1));
        objectCount_ = number(trailer + 8, 8);
        root_ = number(trailer + 16, 8);
        tableOffset_ = number(trailer + 24, 8);
        if (offsetSize_ < 1 || offsetSize_ > 8 || referenceSize_ < 1 || referenceSize_ > 8)
            throw invalid("trailer: sizes of numbers");
        if (tableOffset_ > trailer || objectCount_ > (trailer - tableOffset_) / offsetSize_)
            throw invalid("trailer: table of offsets");
    }

    void read() { value(root_, 0); }

private:
    /// A number of at most 8 bytes, the highest first.
    std::uint64_t number(std::uint64_t offset, std::size_t width) const
    {
        std::uint64_t value = 0;
        for (const std::byte each : slice(offset, width))
            value = value << 8 | std::to_integer<std::uint64_t>(each);
        return value;
    }

    std::vector<std::byte> slice(std::uint64_t offset, std::uint64_t count) const
    {
        if (count > maxValueBytes)
            throw ConversionError::resourceLimit(
                filled("une valeur dépasse {} Mo"_fr, {std::to_string(maxValueBytes >> 20)}));
        std::vector<std::byte> bytes = bytes_.read(offset, static_cast<std::size_t>(count));
        if (bytes.size() < count)
            throw invalid("an object goes on behind the end");
        return bytes;
    }

    struct Object {
        unsigned kind = 0;
        std::uint64_t count = 0;    // the low half of the marker, or the number behind it
        std::uint64_t contents = 0; // where they begin
    };

    Object object(std::uint64_t index) const
    {
        if (index >= objectCount_)
            throw invalid("reference to no object");
        const std::uint64_t offset = number(tableOffset_ + index * offsetSize_, offsetSize_);
        const auto marker = static_cast<unsigned>(number(offset, 1));
        Object object{.kind = marker >> 4, .count = marker & 15, .contents = offset + 1};
        const bool hasLength = object.kind >= 4 && object.kind != 8;
        if (hasLength && object.count == 15) {
            const auto width = static_cast<unsigned>(number(object.contents, 1));
            if (width >> 4 != 1 || (width & 15) > 3)
                throw invalid("length of an object");
            object.count = number(object.contents + 1, std::size_t{1} << (width & 15));
            object.contents += 1 + (std::uint64_t{1} << (width & 15));
        }
        return object;
    }

    std::string text(const Object& object) const
    {
        if (object.kind == 5) {
            const auto bytes = slice(object.contents, object.count);
            return validUtf8({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
        }
        if (object.kind != 6)
            throw invalid("key that is no text");
        if (object.count > maxValueBytes)
            throw invalid("length of a text");
        const auto bytes = slice(object.contents, 2 * object.count);
        const auto unit = [&bytes](std::size_t at) {
            return static_cast<char32_t>(std::to_integer<unsigned>(bytes[at]) << 8 |
                                         std::to_integer<unsigned>(bytes[at + 1]));
        };
        std::string text;
        for (std::size_t at = 0; at < bytes.size(); at += 2) {
            char32_t scalar = unit(at);
            if (scalar >= 0xD800 && scalar <= 0xDFFF) {
                const bool isPair =
                    scalar <= 0xDBFF && at + 2 < bytes.size() && unit(at + 2) >= 0xDC00 && unit(at + 2) <= 0xDFFF;
                scalar = isPair ? 0x10000 + ((scalar - 0xD800) << 10) + (unit(at + 2) - 0xDC00) : U'\uFFFD';
                at += isPair ? 2 : 0;
            }
            appendScalar(text, scalar);
        }
        return text;
    }

    std::string integer(const Object& object) const
    {
        if (object.count <= 3) {
            const std::uint64_t value = number(object.contents, std::size_t{1} << object.count);
            // Only numbers of 8 bytes have a sign.
            return object.count == 3 ? std::to_string(static_cast<std::int64_t>(value)) : std::to_string(value);
        }
        const std::uint64_t high = object.count == 4 ? number(object.contents, 8) : 1;
        const std::uint64_t low = object.count == 4 ? number(object.contents + 8, 8) : 0;
        if (high == 0)
            return std::to_string(low);
        if (high == ~std::uint64_t{0} && low >> 63 == 1)
            return std::to_string(static_cast<std::int64_t>(low));
        throw invalid("number out of range");
    }

    double real(const Object& object) const
    {
        if (object.count == 2)
            return std::bit_cast<float>(static_cast<std::uint32_t>(number(object.contents, 4)));
        if (object.count == 3)
            return std::bit_cast<double>(number(object.contents, 8));
        throw invalid("width of a real number");
    }

    void tell(ScalarKind kind, std::string_view text) { events_.scalar({kind, text}); }

    void value(std::uint64_t index, std::size_t depth)
    {
        if (depth > maxDepth)
            throw tooDeep(maxDepth);
        if (++values_ > maxValues)
            throw ConversionError::resourceLimit(filled("plus de {} valeurs"_fr, {std::to_string(maxValues)}));
        const Object object = this->object(index);
        switch (object.kind) {
        case 0:
            if (object.count == 8 || object.count == 9)
                tell(ScalarKind::boolean, object.count == 9 ? "true" : "false");
            else
                tell(ScalarKind::null, {});
            return;
        case 1:
            tell(ScalarKind::number, integer(object));
            return;
        case 2: {
            const double value = real(object);
            if (std::isfinite(value))
                tell(ScalarKind::number, asReal(value));
            else
                tell(ScalarKind::text, std::isnan(value) ? "NaN" : value > 0 ? "Infinity" : "-Infinity");
            return;
        }
        case 3:
            tell(ScalarKind::date, asMoment(real(object)));
            return;
        case 4:
            tell(ScalarKind::data, base64(slice(object.contents, object.count)));
            return;
        case 5:
        case 6:
            tell(ScalarKind::text, text(object));
            return;
        case 8:
            if (object.count > 7)
                throw invalid("width of a reference");
            events_.beginObject();
            events_.key("CF$UID");
            tell(ScalarKind::number, std::to_string(number(object.contents, object.count + 1)));
            events_.endObject();
            return;
        case 10:
        case 11:
        case 12:
            list(object, depth);
            return;
        case 13:
            dictionary(object, depth);
            return;
        default:
            throw invalid("kind of object " + std::to_string(object.kind));
        }
    }

    std::uint64_t reference(const Object& object, std::uint64_t place) const
    {
        return number(object.contents + place * referenceSize_, referenceSize_);
    }

    /// A list is no longer than its references have room for.
    void requireRoom(const Object& object, std::uint64_t references) const
    {
        if (references > bytes_.size() / referenceSize_ || object.contents > bytes_.size())
            throw invalid("length of a list");
    }

    void list(const Object& object, std::size_t depth)
    {
        requireRoom(object, object.count);
        events_.beginArray();
        for (std::uint64_t i = 0; i < object.count; ++i)
            value(reference(object, i), depth + 1);
        events_.endArray();
    }

    void dictionary(const Object& object, std::size_t depth)
    {
        if (object.count > bytes_.size())
            throw invalid("length of a dictionary");
        requireRoom(object, 2 * object.count);
        events_.beginObject();
        for (std::uint64_t i = 0; i < object.count; ++i) {
            events_.key(text(this->object(reference(object, i))));
            value(reference(object, object.count + i), depth + 1);
        }
        events_.endObject();
    }

    const ByteSource& bytes_;
    TreeEvents& events_;
    std::size_t offsetSize_ = 0;
    std::size_t referenceSize_ = 0;
    std::uint64_t objectCount_ = 0;
    std::uint64_t root_ = 0;
    std::uint64_t tableOffset_ = 0;
    std::size_t values_ = 0;
};

} // namespace

bool isBinaryPlist(const ByteSource& bytes)
{
    const std::vector<std::byte> head = bytes.read(0, 6);
    return std::string_view{reinterpret_cast<const char*>(head.data()), head.size()} == "bplist";
}

void readBinaryPlist(const ByteSource& bytes, TreeEvents& events) { Reader{bytes, events}.read(); }

} // namespace nivex::data
