#include "NivexKit/Engines/TextRecognition/TextRecognitionEngine.hpp"

namespace nivex {

TextRecognitionEngine::TextRecognitionEngine(const FormatRegistry&)
    : DeclaredEngine{"native-text", "Reconnaissance de texte macOS (Vision)"_fr}
{
}

} // namespace nivex
