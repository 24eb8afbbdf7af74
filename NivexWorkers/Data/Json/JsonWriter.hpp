#pragma once

#include "NivexWorkers/Data/Model/TreeEvents.hpp"
#include "NivexWorkers/Data/Text/TextOutput.hpp"

#include <cstddef>
#include <limits>
#include <string_view>

namespace nivex::data {

/// Writes JSON (RFC 8259). Numbers are written digit by digit as they come, dates and bytes as strings.
class JsonWriter final : public TreeEvents {
public:
    static constexpr std::size_t everyLevel = std::numeric_limits<std::size_t>::max();

    /// indentedLevels  how many levels of nesting have their values on lines of their own; what lies deeper stands on
    ///                 one line. With 1 a list of objects is one object a line, and so is an object of such lists.
    JsonWriter(TextOutput& text, std::size_t indentedLevels) : text_{text}, indentedLevels_{indentedLevels} {}

    void beginObject() override;
    void key(std::string_view name) override;
    void endObject() override { close('}'); }
    void beginArray() override { open('['); }
    void endArray() override { close(']'); }
    void scalar(const Scalar& value) override;

private:
    void open(char bracket);
    void close(char bracket);
    void separate();
    void breakLine();
    void string(std::string_view text);

    TextOutput& text_;
    std::size_t indentedLevels_;
    std::size_t depth_ = 0; // of the open objects and arrays
    bool isEmpty_ = true;   // the innermost of them; one that a value was put in is not
    bool isAfterKey_ = false;
};

} // namespace nivex::data
