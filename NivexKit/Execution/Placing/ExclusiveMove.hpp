#pragma once

#include <filesystem>

namespace nivex {

enum class MoveResult { moved, nameTaken };

/// How a name is taken without replacing what may bear it, the surest first. Not every volume has the first two.
enum class MoveMeans {
    renameWithoutReplacing,
    link,
    reservation, // an empty file or folder of our own takes the name and is replaced
};

/// Moves a file or folder to `target` unless something is there already, whoever put it there and however late. Across
/// volumes it goes through a hidden copy beside the target, forced to the disk before it gets its name. What does not
/// end as `moved` leaves `file` and the target's folder as they were.
///
/// best    the surest means to try; where the volume lacks it the next one is tried
/// errors  ConversionError::destinationUnavailable when the move is impossible for another reason
MoveResult moveExclusively(const std::filesystem::path& file, const std::filesystem::path& target,
                           MoveMeans best = MoveMeans::renameWithoutReplacing);

} // namespace nivex
