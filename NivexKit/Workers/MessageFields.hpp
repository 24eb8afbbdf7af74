#pragma once

#include "NivexKit/Foundation/Text/Json.hpp"
#include "NivexKit/Workers/MessageLines.hpp"

#include <cstdint>
#include <string>
#include <string_view>

namespace nivex {

/// The members of one message, 64 at most; each getter throws WorkerMessageError when the member is missing or of
/// another kind.
class MessageFields {
public:
    /// Reads one line.
    explicit MessageFields(std::string_view line);
    explicit MessageFields(const JsonValue& value);

    bool has(std::string_view name) const { return object_.find(name) != nullptr; }
    const JsonValue& value(std::string_view name) const;
    const std::string& text(std::string_view name) const;
    std::int64_t integer(std::string_view name) const;
    bool boolean(std::string_view name) const;
    const JsonArray& array(std::string_view name) const;
    MessageFields object(std::string_view name) const { return MessageFields{value(name)}; }

private:
    JsonObject object_;
};

/// A file name or path as a JSON text. Names are bytes and need not be UTF-8: "%" and every byte that does not belong
/// to a well-formed sequence is written as "%" and two hexadecimal digits.
std::string escapedPath(std::string_view path);
/// Throws WorkerMessageError for a "%" that two hexadecimal digits do not follow and for an escaped zero.
std::string unescapedPath(std::string_view text);

} // namespace nivex
