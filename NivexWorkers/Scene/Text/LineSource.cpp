#include "NivexWorkers/Scene/Text/LineSource.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <cstring>

namespace nivex::scene {
namespace {

constexpr std::size_t blockSize = 1 << 20;
constexpr std::size_t longestLine = 64 << 20;

} // namespace

bool LineSource::next(std::string_view& line)
{
    std::size_t searched = at_;
    for (;;) {
        const void* end = std::memchr(buffer_.data() + searched, '\n', buffer_.size() - searched);
        if (end || (searched = buffer_.size() - at_, !refill())) {
            const std::size_t stop =
                end ? static_cast<std::size_t>(static_cast<const char*>(end) - buffer_.data()) : buffer_.size();
            if (!end && at_ == stop)
                return false;
            line = std::string_view{buffer_}.substr(at_, stop - at_);
            if (line.ends_with('\r'))
                line.remove_suffix(1);
            at_ = end ? stop + 1 : stop;
            ++number_;
            return true;
        }
    }
}

/// Moves what is left to the front and reads on behind it; false at the end of the input.
bool LineSource::refill()
{
    buffer_.erase(0, at_);
    at_ = 0;
    const std::size_t kept = buffer_.size();
    if (kept > longestLine)
        throw ConversionError::unreadableSource("une ligne du fichier est trop longue"_fr);
    buffer_.resize(kept + blockSize);
    const std::size_t got =
        input_.bytes.read(readTo_, std::as_writable_bytes(std::span{buffer_}.subspan(kept, blockSize)));
    buffer_.resize(kept + got);
    readTo_ += got;
    if (input_.bytes.size() > 0)
        input_.progress(static_cast<double>(readTo_) / static_cast<double>(input_.bytes.size()));
    return got > 0;
}

} // namespace nivex::scene
