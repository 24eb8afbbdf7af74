#pragma once

namespace nivex::document {

/// A function for each kind of block: std::visit(Overloaded{[](const Paragraph&) {…}, …}, block.content).
template <class... Functions>
struct Overloaded : Functions... {
    using Functions::operator()...;
};

} // namespace nivex::document
