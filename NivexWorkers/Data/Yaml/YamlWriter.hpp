#pragma once

#include "NivexWorkers/Data/Model/TreeEvents.hpp"
#include "NivexWorkers/Data/Text/TextOutput.hpp"

#include <string_view>
#include <vector>

namespace nivex::data {

/// Writes YAML in blocks, two spaces a level. Texts that any reader, of YAML 1.1 or 1.2, could take for something else
/// stand in quotes.
class YamlWriter final : public TreeEvents {
public:
    explicit YamlWriter(TextOutput& text) : text_{text} {}

    void beginObject() override { open(false); }
    void key(std::string_view name) override;
    void endObject() override { close("{}"); }
    void beginArray() override { open(true); }
    void endArray() override { close("[]"); }
    void scalar(const Scalar& value) override;

private:
    struct Level {
        bool isArray = false;
        bool isEmpty = true;
        bool continuesLine = false; // the first child stands behind the dash of a list, or at the very beginning
    };

    void open(bool isArray);
    void close(std::string_view ifEmpty);
    void beginChild();
    void beginValue();
    void text(std::string_view text);
    void number(std::string_view digits);

    TextOutput& text_;
    std::vector<Level> levels_;
    bool isAfterKey_ = false;
};

} // namespace nivex::data
