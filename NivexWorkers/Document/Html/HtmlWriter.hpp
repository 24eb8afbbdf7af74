#pragma once

#include "NivexWorkers/Document/Model/Document.hpp"

#include <functional>
#include <string>
#include <string_view>

namespace nivex::document {

/// What differs between a page and a chapter of a book.
struct HtmlStyle {
    /// The address of a picture of the document; empty where only its words are to stand there.
    std::function<std::string(std::size_t index)> imageAddress;
    /// The address of what a link leads to.
    std::function<std::string(const std::string& link)> linkAddress = [](const std::string& link) { return link; };
    bool isBook = false; // notes are marked for reading programs, and pictures that lie elsewhere are their words
};

/// Blocks as well-formed XHTML, and behind them the notes that they have marks of.
std::string htmlOf(const Blocks& blocks, const Document& document, const HtmlStyle& style);

/// A whole page in one file: its pictures stand in it.
std::string writtenHtml(const Document& document);

/// The looks of pages and books.
extern const std::string_view documentStyleSheet;

} // namespace nivex::document
