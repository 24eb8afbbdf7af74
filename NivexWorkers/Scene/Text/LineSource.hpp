#pragma once

#include "NivexWorkers/Scene/Model/SceneInput.hpp"

#include <cstdint>
#include <string>
#include <string_view>

namespace nivex::scene {

/// Reads a text of any size line by line, holding a part of it only.
class LineSource {
public:
    /// from  where the first line begins
    explicit LineSource(const SceneInput& input, std::uint64_t from = 0) : input_{input}, readTo_{from} {}

    /// Sets `line` to the next line without its end (LF, CR LF), which lives until the next call; false behind the last
    /// one. Throws unreadableSource for a line of more than 64 MiB.
    bool next(std::string_view& line);

    /// Behind the end of the line read last, in bytes from the beginning of the input.
    std::uint64_t position() const { return readTo_ - (buffer_.size() - at_); }

    /// Of the line read last, counted from 1.
    std::uint64_t number() const { return number_; }

private:
    bool refill();

    const SceneInput& input_;
    std::string buffer_;
    std::size_t at_ = 0; // in the buffer
    std::uint64_t readTo_;
    std::uint64_t number_ = 0;
};

} // namespace nivex::scene
