#include "NivexKit/Detection/Signatures/TextHead.hpp"
#include "NivexKit/Detection/Signatures/TextShapes.hpp"

#include <algorithm>
#include <array>
#include <bitset>
#include <cstdint>
#include <iterator>

namespace nivex::shapes {
namespace {

constexpr auto npos = std::string_view::npos;

enum class Language { c, cpp, python, java, swift, rust, go, javascript, typescript, markup, other };
constexpr std::size_t languageCount = 11;

/// A line that speaks for a language: how it begins, what else it holds, with which letters it may end. One mark proves
/// nothing; a language needs several different ones. `other` gathers languages that the catalogue does not hold, so
/// that they are not taken for their relatives.
struct LineMark {
    std::string_view opens;
    std::string_view holds{};
    std::string_view ends{};
    Language language{};
    int weight = 1;
    bool isWholeLine = false; // `opens` is all of it
};

using enum Language;

// clang-format off
constexpr LineMark marks[] = {
    {.opens = "#include <", .holds = ">", .language = c, .weight = 2},
    {.opens = "#include \"", .holds = "\"", .ends = "\"", .language = c, .weight = 2},
    {.opens = "#include <", .holds = ".h>", .language = c},
    {.opens = "main(", .holds = "argc", .language = c},
    {.opens = "#define ", .language = c},
    {.opens = "#ifndef ", .language = c},
    {.opens = "#ifdef ", .language = c},
    {.opens = "#endif", .language = c},
    {.opens = "#pragma once", .language = c, .weight = 2},
    {.opens = "typedef ", .ends = ";{", .language = c, .weight = 2},
    {.opens = "extern \"C\"", .language = c, .weight = 2},
    {.opens = "int main(", .language = c, .weight = 2},
    {.opens = "static ", .holds = "(", .ends = "{;),", .language = c},
    {.opens = "void ", .holds = "(", .ends = "{;)", .language = c},
    {.opens = "int ", .holds = "(", .ends = "{;)", .language = c},
    {.opens = "struct ", .ends = "{;", .language = c},

    {.opens = "namespace ", .ends = "{", .language = cpp},
    {.opens = "template <", .holds = ">", .language = cpp, .weight = 2},
    {.opens = "template<", .holds = ">", .language = cpp, .weight = 2},
    {.opens = "using namespace ", .ends = ";", .language = cpp, .weight = 2},
    {.opens = "using ", .holds = "::", .ends = ";", .language = cpp, .weight = 2},
    {.opens = "public:", .language = cpp},
    {.opens = "private:", .language = cpp},
    {.opens = "std::", .language = cpp, .weight = 2},
    {.opens = "virtual ", .ends = ";{", .language = cpp},

    {.opens = "import ", .ends = "abcdefghijklmnopqrstuvwxyz_", .language = python},
    {.opens = "from ", .holds = " import ", .language = python, .weight = 2},
    {.opens = "def ", .holds = "(", .ends = ":(,", .language = python, .weight = 2},
    {.opens = "async def ", .holds = "(", .ends = ":(,", .language = python, .weight = 2},
    {.opens = "class ", .ends = ":", .language = python, .weight = 2},
    {.opens = "if __name__ ==", .ends = ":", .language = python, .weight = 3},
    {.opens = "elif ", .ends = ":", .language = python},
    {.opens = "except", .ends = ":", .language = python},
    {.opens = "self.", .language = python},
    {.opens = "with ", .holds = " as ", .ends = ":", .language = python},
    {.opens = "print(", .ends = ")", .language = python},
    {.opens = "@", .ends = "abcdefghijklmnopqrstuvwxyz", .language = python},
    {.opens = "\"\"\"", .language = python},

    {.opens = "package ", .ends = ";", .language = java, .weight = 2},
    {.opens = "import java", .holds = ".", .ends = ";", .language = java, .weight = 2},
    {.opens = "import static ", .ends = ";", .language = java, .weight = 2},
    {.opens = "import org.", .ends = ";", .language = java, .weight = 2},
    {.opens = "import com.", .ends = ";", .language = java, .weight = 2},
    {.opens = "public class ", .language = java},
    {.opens = "public final class ", .language = java, .weight = 2},
    {.opens = "public abstract class ", .language = java},
    {.opens = "public interface ", .language = java},
    {.opens = "public enum ", .language = java},
    {.opens = "public static void main(", .language = java, .weight = 2},
    {.opens = "@Override", .language = java, .weight = 2},
    {.opens = "private ", .ends = ";{", .language = java},
    {.opens = "System.out.", .language = java, .weight = 2},

    {.opens = "import Foundation", .language = swift, .weight = 2},
    {.opens = "import UIKit", .language = swift, .weight = 2},
    {.opens = "import SwiftUI", .language = swift, .weight = 2},
    {.opens = "import Cocoa", .language = swift, .weight = 2},
    {.opens = "import AppKit", .language = swift, .weight = 2},
    {.opens = "import XCTest", .language = swift, .weight = 2},
    {.opens = "func ", .holds = ") ->", .ends = "{", .language = swift, .weight = 2},
    {.opens = "func ", .holds = ":", .ends = "{", .language = swift},
    {.opens = "override func ", .language = swift, .weight = 2},
    {.opens = "private func ", .language = swift, .weight = 2},
    {.opens = "public func ", .language = swift, .weight = 2},
    {.opens = "static func ", .language = swift, .weight = 2},
    {.opens = "private let ", .language = swift, .weight = 2},
    {.opens = "private var ", .language = swift, .weight = 2},
    {.opens = "public let ", .language = swift, .weight = 2},
    {.opens = "public var ", .language = swift, .weight = 2},
    {.opens = "public struct ", .holds = ": ", .ends = "{", .language = swift, .weight = 2},
    {.opens = "public enum ", .holds = ": ", .ends = "{", .language = swift, .weight = 2},
    {.opens = "public protocol ", .language = swift, .weight = 2},
    {.opens = "internal ", .ends = "{", .language = swift, .weight = 2},
    {.opens = "fileprivate ", .language = swift, .weight = 2},
    {.opens = "guard ", .ends = "{", .language = swift, .weight = 2},
    {.opens = "guard ", .ends = "}", .language = swift, .weight = 2},
    {.opens = "if let ", .ends = "{", .language = swift},
    {.opens = "extension ", .ends = "{", .language = swift, .weight = 2},
    {.opens = "protocol ", .ends = "{", .language = swift, .weight = 2},
    {.opens = "let ", .holds = "= ", .ends = "\")", .language = swift},
    {.opens = "struct ", .holds = ": ", .ends = "{", .language = swift},
    {.opens = "class ", .holds = ": ", .ends = "{", .language = swift},
    {.opens = "@IB", .holds = " var ", .language = swift, .weight = 2},
    {.opens = "@State ", .language = swift, .weight = 2},
    {.opens = "@testable import ", .language = swift, .weight = 3},

    {.opens = "use ", .holds = "::", .ends = ";{", .language = rust, .weight = 2},
    {.opens = "pub use ", .holds = "::", .language = rust, .weight = 2},
    {.opens = "fn ", .holds = "(", .ends = "{(", .language = rust, .weight = 2},
    {.opens = "pub fn ", .language = rust, .weight = 2},
    {.opens = "pub struct ", .language = rust, .weight = 2},
    {.opens = "pub enum ", .language = rust, .weight = 2},
    {.opens = "pub mod ", .language = rust, .weight = 2},
    {.opens = "pub(crate) ", .language = rust, .weight = 2},
    {.opens = "impl", .ends = "{", .language = rust, .weight = 2},
    {.opens = "let mut ", .language = rust, .weight = 2},
    {.opens = "#[", .ends = "]", .language = rust, .weight = 2},
    {.opens = "#![", .ends = "]", .language = rust, .weight = 2},
    {.opens = "mod ", .ends = ";", .language = rust},
    {.opens = "extern crate ", .ends = ";", .language = rust, .weight = 2},
    {.opens = "let ", .holds = "= ", .ends = "?;", .language = rust},

    {.opens = "package ", .ends = "abcdefghijklmnopqrstuvwxyz_0123456789", .language = go},
    {.opens = "import (", .language = go, .weight = 2},
    {.opens = "import \"", .ends = "\"", .language = go, .weight = 2},
    {.opens = "func ", .holds = "(", .ends = "{", .language = go},
    {.opens = "func (", .ends = "{", .language = go, .weight = 2},
    {.opens = "type ", .holds = " struct {", .language = go, .weight = 2},
    {.opens = "type ", .holds = " interface {", .language = go, .weight = 2},
    {.opens = "if err != nil", .language = go, .weight = 2},
    {.opens = "defer ", .language = go},

    {.opens = "const ", .holds = " = ", .language = javascript},
    {.opens = "const {", .holds = " = ", .language = javascript},
    {.opens = "const ", .holds = "require(", .language = javascript, .weight = 2},
    {.opens = "let ", .holds = " = ", .ends = ";{[", .language = javascript},
    {.opens = "var ", .holds = "=", .ends = ";{[,", .language = javascript},
    {.opens = "var ", .holds = "require(", .language = javascript, .weight = 2},
    {.opens = "function ", .holds = "(", .ends = "{", .language = javascript, .weight = 2},
    {.opens = "async function ", .holds = "(", .language = javascript, .weight = 2},
    {.opens = "(function", .ends = "{", .language = javascript, .weight = 2},
    {.opens = "export default ", .language = javascript, .weight = 2},
    {.opens = "export const ", .language = javascript, .weight = 2},
    {.opens = "export function ", .language = javascript, .weight = 2},
    {.opens = "export class ", .language = javascript, .weight = 2},
    {.opens = "export {", .language = javascript, .weight = 2},
    {.opens = "export * from ", .language = javascript, .weight = 2},
    {.opens = "import ", .holds = " from '", .language = javascript, .weight = 2},
    {.opens = "import ", .holds = " from \"", .language = javascript, .weight = 2},
    {.opens = "import '", .ends = "';", .language = javascript},
    {.opens = "module.exports", .language = javascript, .weight = 2},
    {.opens = "'use strict'", .language = javascript, .weight = 3},
    {.opens = "\"use strict\"", .language = javascript, .weight = 3},
    {.opens = "console.", .holds = "(", .language = javascript},
    {.opens = "document.", .language = javascript},
    {.opens = "window.", .language = javascript},
    {.opens = "$(", .holds = "function", .language = javascript, .weight = 2},
    {.opens = "});", .language = javascript},
    {.opens = "this.", .ends = ";{", .language = javascript},
    {.opens = "Module", .holds = "= function", .language = javascript, .weight = 2},

    {.opens = "interface ", .ends = "{", .language = typescript, .weight = 2},
    {.opens = "export interface ", .language = typescript, .weight = 3},
    {.opens = "export type ", .language = typescript, .weight = 3},
    {.opens = "export enum ", .language = typescript, .weight = 3},
    {.opens = "import type ", .language = typescript, .weight = 3},
    {.opens = "export abstract class ", .language = typescript, .weight = 3},
    {.opens = "type ", .holds = " = ", .language = typescript},
    {.opens = "declare ", .language = typescript, .weight = 2},
    {.opens = "private readonly ", .language = typescript, .weight = 2},
    {.opens = "@Component(", .language = typescript, .weight = 2},
    {.opens = "@Injectable(", .language = typescript, .weight = 2},
    {.opens = "enum ", .ends = "{", .language = typescript},
    {.opens = "const ", .holds = ": ", .ends = ";{[", .language = typescript},
    {.opens = "constructor(private ", .language = typescript, .weight = 2},

    {.opens = "</", .ends = ">", .language = markup},
    {.opens = "<>", .language = markup},
    {.opens = "<", .holds = "={", .language = markup, .weight = 2},
    {.opens = "<", .holds = " className=", .language = markup, .weight = 2},
    {.opens = "return (", .ends = "(", .language = markup},
    {.opens = "return <", .language = markup, .weight = 2},
    {.opens = "/>", .language = markup},

    // a change to a program of any language
    {.opens = "@@ -", .holds = " @@", .language = other, .weight = 9},
    // templates that are filled in
    {.opens = "{%", .holds = "%}", .language = other, .weight = 9},
    {.opens = "{{", .holds = "}}", .language = other, .weight = 9},
    // C#
    {.opens = "using System", .ends = ";", .language = other, .weight = 9},
    {.opens = "using ", .holds = ".", .ends = ";", .language = other, .weight = 5},
    // Objective-C
    {.opens = "#import ", .language = other, .weight = 9},
    {.opens = "@interface ", .language = other, .weight = 9},
    {.opens = "@implementation ", .language = other, .weight = 9},
    {.opens = "@property", .holds = "(", .ends = ";", .language = other, .weight = 9},
    {.opens = "- (", .holds = ")", .ends = "{;abcdefghijklmnopqrstuvwxyz", .language = other, .weight = 9},
    {.opens = "+ (", .holds = ")", .ends = "{;abcdefghijklmnopqrstuvwxyz", .language = other, .weight = 9},
    {.opens = "[self ", .language = other, .weight = 9},
    // Perl
    {.opens = "use strict;", .language = other, .weight = 9},
    {.opens = "use warnings;", .language = other, .weight = 9},
    {.opens = "my $", .language = other, .weight = 9},
    {.opens = "sub ", .ends = "{", .language = other, .weight = 9},
    {.opens = "package ", .holds = "::", .ends = ";", .language = other, .weight = 9},
    {.opens = "=head1 ", .language = other, .weight = 9},
    // Kotlin, Scala, Groovy, Dart
    {.opens = "package ", .holds = ".", .ends = "abcdefghijklmnopqrstuvwxyz_0123456789", .language = other, .weight = 9},
    {.opens = "fun ", .holds = "(", .language = other, .weight = 9},
    {.opens = "override fun ", .language = other, .weight = 9},
    {.opens = "object ", .ends = "{", .language = other, .weight = 9},
    {.opens = "apply plugin: ", .language = other, .weight = 9},
    {.opens = "import 'package:", .language = other, .weight = 9},
    {.opens = "import 'dart:", .language = other, .weight = 9},
    // Ruby, Lua, Julia, Octave: blocks that a word ends
    {.opens = "end", .language = other, .weight = 9, .isWholeLine = true},
    {.opens = "require '", .ends = "'", .language = other, .weight = 4},
    {.opens = "require \"", .ends = "\"", .language = other, .weight = 4},
    {.opens = "module ", .ends = "abcdefghijklmnopqrstuvwxyz", .language = other, .weight = 4},
    {.opens = "attr_", .holds = " :", .language = other, .weight = 9},
    {.opens = "class ", .holds = " < ", .language = other, .weight = 9},
    {.opens = "def self.", .language = other, .weight = 9},
    {.opens = "local function ", .language = other, .weight = 9},
    {.opens = "local ", .holds = " = ", .language = other, .weight = 4},
    // Pascal, Ada, Fortran
    {.opens = "end;", .language = other, .weight = 9, .isWholeLine = true},
    {.opens = "begin", .language = other, .weight = 9, .isWholeLine = true},
    {.opens = "procedure ", .language = other, .weight = 9},
    {.opens = "unit ", .ends = ";", .language = other, .weight = 9},
    {.opens = "uses ", .language = other, .weight = 4},
    {.opens = "pragma ", .ends = ";", .language = other, .weight = 4},
    {.opens = "package ", .ends = "s", .language = other, .weight = 4},
    {.opens = "implicit none", .language = other, .weight = 9},
    // shells, make, Tcl, CMake, m4
    {.opens = "fi", .language = other, .weight = 9, .isWholeLine = true},
    {.opens = "done", .language = other, .weight = 9, .isWholeLine = true},
    {.opens = "esac", .language = other, .weight = 9, .isWholeLine = true},
    {.opens = "proc ", .ends = "{", .language = other, .weight = 9},
    {.opens = "#[=", .language = other, .weight = 9},
    {.opens = "endif(", .ends = ")", .language = other, .weight = 9},
    {.opens = "endif (", .ends = ")", .language = other, .weight = 9},
    {.opens = "if(NOT ", .ends = ")", .language = other, .weight = 9},
    {.opens = "endmacro", .ends = ")", .language = other, .weight = 9},
    {.opens = "endfunction", .ends = ")", .language = other, .weight = 9},
    {.opens = "endforeach", .ends = ")", .language = other, .weight = 9},
    {.opens = "find_package(", .language = other, .weight = 9},
    {.opens = "include_directories(", .language = other, .weight = 9},
    {.opens = "add_", .holds = "(", .ends = ")", .language = other, .weight = 4},
    {.opens = "target_", .holds = "(", .ends = ")", .language = other, .weight = 4},
    {.opens = "set(", .ends = ")", .language = other, .weight = 4},
    {.opens = "project(", .ends = ")", .language = other, .weight = 4},
    {.opens = "cmake_", .holds = "(", .language = other, .weight = 9},
    {.opens = "AC_", .holds = "(", .language = other, .weight = 9},
    {.opens = "m4_", .holds = "(", .language = other, .weight = 9},
    {.opens = "dnl", .language = other, .weight = 9},
    // manual pages, assembler, shaders, interface descriptions
    {.opens = ".TH ", .language = other, .weight = 9},
    {.opens = ".SH ", .language = other, .weight = 9},
    {.opens = ".Dd ", .language = other, .weight = 9},
    {.opens = ".globl ", .language = other, .weight = 9},
    {.opens = ".text", .language = other, .weight = 9, .isWholeLine = true},
    {.opens = ".align ", .language = other, .weight = 9},
    {.opens = "#version ", .language = other, .weight = 9},
    {.opens = "syntax = \"", .language = other, .weight = 9},
    {.opens = "import QtQuick", .language = other, .weight = 9},
};
// clang-format on

constexpr std::size_t markCount = std::size(marks);

/// The marks by their first letter, so that a line is compared with few of them.
struct FirstLetterIndex {
    std::array<std::uint8_t, 129> starts{};
    std::array<std::uint8_t, markCount> rows{};
};
static_assert(markCount <= 255);

constexpr FirstLetterIndex firstLetterIndex = [] {
    FirstLetterIndex index;
    std::uint8_t used = 0;
    for (std::size_t letter = 0; letter < 128; ++letter) {
        index.starts[letter] = used;
        for (std::size_t row = 0; row < markCount; ++row)
            if (marks[row].opens[0] == static_cast<char>(letter))
                index.rows[used++] = static_cast<std::uint8_t>(row);
    }
    index.starts[128] = used;
    return index;
}();

struct Evidence {
    std::bitset<markCount> seen;
    std::array<int, languageCount> weights{};
    std::array<int, languageCount> kinds{};

    std::size_t lines = 0; // of code

    void add(std::size_t row)
    {
        if (seen[row])
            return;
        seen[row] = true;
        const auto language = static_cast<std::size_t>(marks[row].language);
        weights[language] += marks[row].weight;
        ++kinds[language];
    }
    int weight(Language language) const { return weights[static_cast<std::size_t>(language)]; }
    int kindsOf(Language language) const { return kinds[static_cast<std::size_t>(language)]; }
};

void addMarks(Evidence& evidence, std::string_view line)
{
    const auto letter = static_cast<unsigned char>(line.front());
    if (letter >= 128)
        return;
    for (std::size_t i = firstLetterIndex.starts[letter]; i < firstLetterIndex.starts[letter + 1U]; ++i) {
        const LineMark& mark = marks[firstLetterIndex.rows[i]];
        if (line.starts_with(mark.opens) && (!mark.isWholeLine || line.size() == mark.opens.size()) &&
            (mark.ends.empty() || mark.ends.find(line.back()) != npos) &&
            line.find(mark.holds, mark.opens.size()) != npos)
            evidence.add(firstLetterIndex.rows[i]);
    }
}

/// `line` without a comment behind the code.
std::string_view withoutComment(std::string_view line)
{
    for (std::size_t at = line.find('/'); at != npos && at > 0; at = line.find('/', at + 1))
        if (isAsciiSpace(line[at - 1]) && line.substr(at).starts_with("//"))
            return bothTrimmed(line.substr(0, at));
    if (const std::size_t at = line.find(" # "); at != npos)
        line = line.substr(0, at);
    return bothTrimmed(line);
}

/// Passes over block comments and doc strings; their prose says nothing of the language.
class CodeLines {
public:
    explicit CodeLines(std::string_view text) : lines_{text} {}

    bool next(std::string_view& line)
    {
        while (lines_.nextFilled(line)) {
            line = bothTrimmed(line);
            if (!closer_.empty()) {
                if (line.find(closer_) != npos)
                    closer_ = {};
                continue;
            }
            if (opensBlock(line, "/*", "*/") || opensBlock(line, "\"\"\"", "\"\"\"") || opensBlock(line, "'''", "'''"))
                continue;
            if (!line.starts_with("//"))
                return true;
        }
        return false;
    }
    bool wasCut() const { return lines_.wasCut(); }

private:
    bool opensBlock(std::string_view line, std::string_view opener, std::string_view closer)
    {
        if (!line.starts_with(opener))
            return false;
        if (line.find(closer, opener.size()) == npos)
            closer_ = closer;
        return true;
    }

    Lines lines_;
    std::string_view closer_;
};

Evidence evidenceIn(std::string_view text)
{
    Evidence evidence;
    CodeLines lines{text};
    for (std::string_view line; lines.next(line) && !lines.wasCut();) {
        // A line whose comment hides how it ends would lose a mark or two; only lines that could have one are cut.
        const std::string_view code = withoutComment(line);
        if (code.empty())
            continue;
        ++evidence.lines;
        addMarks(evidence, code);
    }
    return evidence;
}

/// A line of several words and no sign that programs are made of.
bool isProse(std::string_view line)
{
    static constexpr std::string_view signs = "=(){}[];<>";
    return isAsciiLetter(line.front()) && std::ranges::count(line, ' ') >= 4 &&
           std::ranges::none_of(line, [](char each) { return signs.find(each) != npos; }) && !line.ends_with(':') &&
           !line.ends_with(',');
}

/// True when sentences make up a good part of the text: a manual with examples, not a program.
bool isMostlyProse(std::string_view text)
{
    std::size_t all = 0;
    std::size_t prose = 0;
    CodeLines lines{text};
    for (std::string_view line; lines.next(line);) {
        if (line.starts_with("```"))
            return true;
        if (line.starts_with('#') || line.starts_with('*') || line.starts_with("--"))
            continue;
        ++all;
        prose += isProse(line);
    }
    return prose * 4 > all;
}

/// A title underlined with signs, as manuals begin and programs do not.
bool isTitled(std::string_view text)
{
    Lines lines{text};
    std::string_view title;
    std::string_view rule;
    return lines.next(title) && lines.next(rule) && rule.size() >= 4 &&
           std::string_view{"=-~^*"}.find(rule.front()) != npos && rule.find_first_not_of(rule.front()) == npos &&
           title.find_first_not_of(rule.front()) != npos && !title.starts_with('#') && !title.starts_with("//");
}

/// Names with a scope, outside comments, where the word also stands for other things.
bool usesScopes(std::string_view text)
{
    CodeLines lines{text};
    for (std::string_view line; lines.next(line);)
        if (line.find("::") != npos || line.starts_with("class "))
            return true;
    return false;
}

bool includesCppHeader(std::string_view text)
{
    for (std::size_t at = text.find("#include <"); at != npos; at = text.find("#include <", at + 1)) {
        const std::string_view name = text.substr(at + 10, text.substr(at + 10).find_first_of(">\n"));
        if (name.find('.') == npos || name.ends_with(".hpp"))
            return true;
    }
    return false;
}

std::string_view cFamilyFormats(std::string_view text, const Evidence& evidence)
{
    const bool isCpp = evidence.weight(cpp) >= 2 || includesCppHeader(text) || usesScopes(text);
    const std::size_t guard = text.find("#ifndef ");
    const bool isGuarded =
        guard != npos && text.find("#define " + std::string{openingWord(text.substr(guard + 8))}, guard) != npos;
    if (isGuarded || text.find("#pragma once") != npos)
        return isCpp ? "h cpp" : "h c cpp";
    return isCpp ? "cpp h" : "c cpp h";
}

bool holdsTypeNotes(std::string_view text)
{
    for (const char* note : {": string", ": number", ": boolean", ": void", ": any", "Promise<", " as const"})
        if (text.find(note) != npos)
            return true;
    return false;
}

std::string_view scriptFormats(std::string_view text, const Evidence& evidence)
{
    const bool isTyped = evidence.weight(typescript) >= 3 ||
                         (evidence.weight(typescript) > 0 && holdsTypeNotes(text)) ||
                         (evidence.weight(markup) == 0 && holdsTypeNotes(text));
    if (evidence.weight(markup) >= 2 || (evidence.weight(markup) > 0 && text.find("className=") != npos))
        return isTyped ? "tsx" : "jsx tsx javascript";
    return isTyped ? "typescript tsx" : "javascript typescript jsx tsx";
}

std::string_view shebangFormats(std::string_view line)
{
    constexpr std::pair<std::string_view, std::string_view> interpreters[] = {
        {"python", "python"}, {"ts-node", "typescript"}, {"deno", "typescript"}, {"node", "javascript"},
        {"php", "php"},       {"swift", "swift"},
    };
    for (const auto& [interpreter, format] : interpreters)
        if (line.find(interpreter) != npos)
            return format;
    return {};
}

} // namespace

std::string_view sourceCodeFormats(std::string_view text)
{
    if (text.starts_with('<') || isTitled(text))
        return {}; // markup, though scripts and styles may follow
    if (text.starts_with("#!"))
        return shebangFormats(text.substr(0, text.find('\n')));
    const Evidence evidence = evidenceIn(text);
    // Two or three marks make a short program; in a long text as many may stand by chance, as in a manual's example.
    constexpr std::size_t linesPerMark = 50;
    const int enough = 3 + static_cast<int>(evidence.lines / linesPerMark);
    constexpr std::array languages = {other, c, python, java, swift, rust, go, javascript};
    auto weightOf = [&evidence](Language language) {
        if (evidence.kindsOf(language) < 2 && language != other)
            return language == javascript && evidence.weight(javascript) > 0
                       ? evidence.weight(javascript) +
                             std::min(evidence.weight(typescript) + evidence.weight(markup), 3)
                       : (language == c && evidence.weight(c) > 0 && evidence.weight(cpp) > 1
                              ? evidence.weight(c) + evidence.weight(cpp)
                              : 0);
        if (language == c)
            return evidence.weight(c) + evidence.weight(cpp);
        return language == javascript
                   ? evidence.weight(javascript) + evidence.weight(typescript) + evidence.weight(markup)
                   : evidence.weight(language);
    };
    const auto* best = std::ranges::max_element(languages, {}, weightOf);
    if (weightOf(*best) < enough || isMostlyProse(text))
        return {};
    switch (*best) {
    case c:
        return cFamilyFormats(text, evidence);
    case python:
        return "python";
    case java:
        return "java";
    case swift:
        return "swift";
    case rust:
        return "rust";
    case go:
        return "go";
    case javascript:
        return scriptFormats(text, evidence);
    default:
        return {};
    }
}

} // namespace nivex::shapes
