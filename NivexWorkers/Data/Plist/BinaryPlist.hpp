#pragma once

#include "NivexWorkers/Data/Model/TreeEvents.hpp"

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

namespace nivex::data {

/// Whether the bytes begin as a binary property list does.
bool isBinaryPlist(const ByteSource& bytes);

/// Reads a binary property list of version 0, whose objects lie anywhere in the file: it is read by position, and only
/// the texts and lists on the way to the value at hand are held. Errors as readPlist.
void readBinaryPlist(const ByteSource& bytes, TreeEvents& events);

} // namespace nivex::data
