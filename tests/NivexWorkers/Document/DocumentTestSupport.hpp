#pragma once

#include "NivexWorkers/Document/Html/HtmlReader.hpp"
#include "NivexWorkers/Document/Markdown/MarkdownReader.hpp"
#include "NivexWorkers/Document/Model/Source.hpp"
#include "NivexWorkers/Document/Text/TextReader.hpp"

#include <gtest/gtest.h>

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace nivex::document::testing {

/// What a reader makes of a text, and what it remarked.
template <class Read>
Document readFrom(std::string_view text, Read read, std::vector<std::string>* remarks = nullptr)
{
    const MemorySource bytes{std::as_bytes(std::span{text})};
    return read(Source{.bytes = bytes, .limits = {}, .remark = [=](std::string sentence) {
                           if (remarks)
                               remarks->push_back(std::move(sentence));
                       }});
}

} // namespace nivex::document::testing
