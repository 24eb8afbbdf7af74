#pragma once

namespace nivex::document {

/// A function for each kind of block: std::visit(Overloaded{[](const Paragraph&) {…}, …}, block.content).
template <class... Functions>
struct Overloaded : Functions... {
    using Functions::operator()...;
};
template <class... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

} // namespace nivex::document
