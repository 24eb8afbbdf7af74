#pragma once

#include "NivexKit/Foundation/Files/OpenFolder.hpp"

#include <string>

namespace nivex {

enum class MoveResult { moved, nameTaken };

/// How a name is taken without replacing what may bear it, the surest first. Not every volume has the first two.
enum class MoveMeans {
    renameWithoutReplacing,
    link,
    reservation, // an empty file or folder of our own takes the name and is replaced
};

/// A name in a folder that is held open.
struct Place {
    const OpenFolder& folder;
    std::string name;
};

/// Moves a file or folder to `target` unless something is there already, whoever put it there and however late. Across
/// volumes it goes through a copy that has no name or a hidden one, forced to the disk before it gets its name. What
/// does not end as `moved` leaves `file` and the target's folder as they were.
///
/// best    the surest means to try; where the volume lacks it the next one is tried
/// errors  ConversionError::destinationUnavailable when the move is impossible for another reason
MoveResult moveExclusively(const Place& file, const Place& target, MoveMeans best = MoveMeans::renameWithoutReplacing);

} // namespace nivex
