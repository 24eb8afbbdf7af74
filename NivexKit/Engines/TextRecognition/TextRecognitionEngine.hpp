#pragma once

#include "NivexKit/Contract/DeclaredEngine.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"

namespace nivex {

/// Reads the text of pictures and scanned pages.
class TextRecognitionEngine final : public DeclaredEngine {
public:
    explicit TextRecognitionEngine(const FormatRegistry& registry);
};

} // namespace nivex
