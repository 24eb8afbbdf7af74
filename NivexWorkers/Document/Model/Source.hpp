#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/ResourceLimits.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <cstddef>
#include <functional>
#include <string>
#include <utility>

namespace nivex::document {

/// Of one text or one part of a package. A document becomes a tree many times as large in memory.
constexpr std::size_t mostTextBytes = 64 << 20;

/// Takes sentences for the person about what could not be kept.
using Remark = std::function<void(std::string)>;

/// What a reader is given.
struct Source {
    const ByteSource& bytes;
    ResourceLimits limits;
    Remark remark = [](std::string) {};
};

inline ConversionError tooLongDocument()
{
    return ConversionError::resourceLimit("le texte du document dépasse 64 Mo"_fr);
}

inline ConversionError damagedDocument(std::string cause)
{
    return ConversionError::unreadableSource("son contenu est endommagé"_fr).because(std::move(cause));
}

} // namespace nivex::document
