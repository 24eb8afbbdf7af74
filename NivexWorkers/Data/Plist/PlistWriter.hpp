#pragma once

#include "NivexWorkers/Data/Model/Input.hpp"
#include "NivexWorkers/Data/Model/TreeEvents.hpp"
#include "NivexWorkers/Data/Text/TextOutput.hpp"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace nivex::data {

/// Writes an XML property list. What it has no type for is remarked on: members without a value are left out, numbers
/// beyond its types are texts, and so are days and moments that no time zone fixes.
class PlistWriter final : public TreeEvents {
public:
    PlistWriter(TextOutput& text, Remarks& remarks);

    void beginObject() override { open("<dict>", "</dict>"); }
    void key(std::string_view name) override;
    void endObject() override { close(); }
    void beginArray() override { open("<array>", "</array>"); }
    void endArray() override { close(); }
    void scalar(const Scalar& value) override;

    /// After the value.
    void finish();

private:
    void open(std::string_view tag, std::string_view closing);
    void close();
    void line(std::string_view before, std::string_view content, std::string_view behind);
    void indent();
    void putKey();
    void number(std::string_view digits);

    TextOutput& text_;
    Remarks& remarks_;
    std::vector<std::string_view> closings_; // of the levels that are open
    std::string key_;                        // that waits for its value
    bool hasKey_ = false;
};

} // namespace nivex::data
