#pragma once

#include <exception>
#include <string>
#include <string_view>

namespace nivex {

/// The one error that conversion work throws. Its message is what the user reads: a fixed lead-in chosen by the kind,
/// followed directly by the detail, so that the two read as one sentence. For who must find out more, a technical note
/// may stand beside it.
class ConversionError : public std::exception {
public:
    enum class Kind {
        unsupported,
        unreadableSource,
        encodingFailed,
        outputVerificationFailed,
        resourceLimit,
        destinationUnavailable,
        engineUnavailable,
        cancelled, // carries no detail
        timedOut,  // carries no detail
    };

    ConversionError(Kind kind, std::string detail);

    static ConversionError unsupported(std::string detail) { return {Kind::unsupported, std::move(detail)}; }
    static ConversionError unreadableSource(std::string detail) { return {Kind::unreadableSource, std::move(detail)}; }
    static ConversionError encodingFailed(std::string detail) { return {Kind::encodingFailed, std::move(detail)}; }
    static ConversionError outputVerificationFailed(std::string detail)
    {
        return {Kind::outputVerificationFailed, std::move(detail)};
    }
    static ConversionError resourceLimit(std::string detail) { return {Kind::resourceLimit, std::move(detail)}; }
    static ConversionError destinationUnavailable(std::string detail)
    {
        return {Kind::destinationUnavailable, std::move(detail)};
    }
    static ConversionError engineUnavailable(std::string detail)
    {
        return {Kind::engineUnavailable, std::move(detail)};
    }
    static ConversionError cancelled() { return {Kind::cancelled, {}}; }
    static ConversionError timedOut() { return {Kind::timedOut, {}}; }

    /// The same error with a note of what exactly was wrong, in English and for developers ("IDAT: checksum", a
    /// library's own message). It is kept as technicalNote makes it.
    ConversionError because(std::string_view cause) const;

    Kind kind() const { return kind_; }
    const std::string& detail() const { return detail_; }

    /// Lead-in and detail, in the language in use when the error was made.
    const std::string& message() const { return message_; }
    const char* what() const noexcept override { return message_.c_str(); }

    /// Empty where nobody said more than the message does.
    const std::string& cause() const { return cause_; }

    /// What a person is told is the same; the causes do not count.
    bool operator==(const ConversionError& other) const { return kind_ == other.kind_ && detail_ == other.detail_; }

private:
    Kind kind_;
    std::string detail_;
    std::string message_;
    std::string cause_;
};

} // namespace nivex
