#pragma once

#include "NivexKit/Foundation/Files/OutputFile.hpp"

#include <cstddef>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace nivex::data {

/// Where a writer's bytes go.
class ByteSink {
public:
    virtual ~ByteSink() = default;
    virtual void write(std::string_view bytes) = 0;
};

class FileSink final : public ByteSink {
public:
    explicit FileSink(std::filesystem::path location) : file_{std::move(location)} {}
    void write(std::string_view bytes) override { file_.write(bytes); }
    void finish() { file_.finish(); }

private:
    NewFile file_;
};

class StringSink final : public ByteSink {
public:
    explicit StringSink(std::string& text) : text_{text} {}
    void write(std::string_view bytes) override { text_.append(bytes); }

private:
    std::string& text_;
};

/// Gathers many small pieces of text before they go to a sink. What was put reaches the sink with `flush`, or before.
class TextOutput {
public:
    explicit TextOutput(ByteSink& sink, std::size_t room = 1 << 16) : sink_{sink}, room_{room}, buffer_{new char[room]}
    {
    }

    void put(char character)
    {
        if (used_ == room_)
            flush();
        buffer_[used_++] = character;
    }

    void put(std::string_view text)
    {
        if (text.empty())
            return;
        if (text.size() > room_ - used_) {
            flush();
            if (text.size() > room_) {
                sink_.write(text);
                return;
            }
        }
        std::memcpy(buffer_.get() + used_, text.data(), text.size());
        used_ += text.size();
    }

    void flush()
    {
        if (used_ > 0)
            sink_.write({buffer_.get(), used_});
        used_ = 0;
    }

private:
    ByteSink& sink_;
    std::size_t room_;
    std::unique_ptr<char[]> buffer_;
    std::size_t used_ = 0;
};

} // namespace nivex::data
