#pragma once

#include "NivexKit/Archive/ZipArchive.hpp"
#include "NivexKit/Foundation/Bytes/ByteWriter.hpp"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Files of spreadsheets, put together from what the tests are about.
namespace nivex::data {

inline std::string archiveOf(const std::vector<std::pair<std::string, std::string>>& parts)
{
    ZipArchive::Writer writer;
    for (const auto& [name, contents] : parts)
        writer.add(name, std::as_bytes(std::span{contents}), true);
    const std::vector<std::byte> bytes = writer.finish();
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// A spreadsheet of OpenDocument of the given sheets.
inline std::string ods(std::string_view tables, std::string_view styles = {})
{
    return archiveOf({{"mimetype", "application/vnd.oasis.opendocument.spreadsheet"},
                      {"content.xml", "<o:d xmlns:o='o' xmlns:t='t' xmlns:x='x' xmlns:s='s'><o:automatic-styles>" +
                                          std::string{styles} + "</o:automatic-styles><o:body>" + std::string{tables} +
                                          "</o:body></o:d>"}});
}

/// A compound file of one stream, which has sectors of its own: it is filled up with zeros to be long enough.
inline std::string compoundFile(std::string_view name, std::string stream)
{
    constexpr std::size_t sectorSize = 512;
    constexpr std::uint32_t none = 0xFFFFFFFF;
    constexpr std::uint32_t last = 0xFFFFFFFE;
    stream.resize((std::max<std::size_t>(stream.size(), 4096) + sectorSize - 1) / sectorSize * sectorSize);
    const auto sectors = static_cast<std::uint32_t>(stream.size() / sectorSize);
    constexpr std::uint32_t perTable = sectorSize / 4;
    const std::uint32_t tables = (sectors + 1) / (perTable - 1) + 1;
    ByteWriter file{ByteOrder::little};
    file.u32(0xE011CFD0).u32(0xE11AB1A1).zeros(16).u16(0x3E).u16(3).u16(0xFFFE).u16(9).u16(6).zeros(10);
    file.u32(tables).u32(tables).u32(0).u32(4096).u32(last).u32(0).u32(last).u32(0);
    for (std::uint32_t i = 0; i < 109; ++i)
        file.u32(i < tables ? i : none);
    for (std::uint32_t i = 0; i < tables * perTable; ++i)
        file.u32(i < tables                 ? 0xFFFFFFFD
                 : i == tables              ? last
                 : i == tables + sectors    ? last
                 : i < tables + 1 + sectors ? i + 1
                                            : none);
    const auto entry = [&](std::string_view text, std::uint8_t kind, std::uint32_t first, std::size_t size) {
        for (std::size_t i = 0; i < 32; ++i)
            file.u16(i < text.size() ? static_cast<std::uint16_t>(text[i]) : std::uint16_t{0});
        file.u16(static_cast<std::uint16_t>(2 * text.size() + 2)).u8(kind).zeros(1).u32(none).u32(none);
        file.u32(kind == 5 ? 1 : none).zeros(36).u32(first).u32(static_cast<std::uint32_t>(size)).u32(0);
    };
    entry("Root Entry", 5, last, 0);
    entry(name, 2, tables + 1, stream.size());
    file.zeros(256).text(stream);
    return std::string{file.view()};
}

/// A record of a workbook of Excel 97.
inline std::string biff(std::uint16_t type, std::string_view data)
{
    ByteWriter record{ByteOrder::little};
    record.u16(type).u16(static_cast<std::uint16_t>(data.size())).text(data);
    return std::string{record.view()};
}

/// A cell: its record's type, place and style, and what follows them.
inline std::string biffCell(std::uint16_t type, std::uint16_t row, std::uint16_t column, std::uint16_t style,
                            std::string_view value)
{
    ByteWriter cell{ByteOrder::little};
    cell.u16(row).u16(column).u16(style).text(value);
    return biff(type, cell.view());
}

inline std::string biffDouble(double value)
{
    ByteWriter bytes{ByteOrder::little};
    const auto bits = std::bit_cast<std::uint64_t>(value);
    bytes.u32(static_cast<std::uint32_t>(bits)).u32(static_cast<std::uint32_t>(bits >> 32));
    return std::string{bytes.view()};
}

/// A workbook of Excel 97.
///
/// globals  its records behind the first
/// sheets   "name=records", a hidden one with "!" before its name
inline std::string xls(const std::string& globals, const std::vector<std::string>& sheets)
{
    using namespace std::string_literals;
    const auto part = [](char kind, const std::string& records) {
        return biff(0x0809, "\0\6"s + kind + std::string(13, '\0')) + records + biff(0x000A, {});
    };
    const auto book = [&](std::size_t first) {
        std::string list;
        std::string parts;
        for (const std::string& sheet : sheets) {
            const bool isHidden = sheet.starts_with('!');
            const std::string name = sheet.substr(isHidden, sheet.find('=') - isHidden);
            ByteWriter entry{ByteOrder::little};
            entry.u32(static_cast<std::uint32_t>(first + parts.size())).u8(isHidden).u8(0);
            entry.u8(static_cast<std::uint8_t>(name.size())).u8(0).text(name);
            list += biff(0x0085, entry.view());
            parts += part('\x10', sheet.substr(sheet.find('=') + 1));
        }
        return std::pair{part('\5', globals + list), parts};
    };
    const std::size_t first = book(0).first.size();
    const auto [head, parts] = book(first);
    return compoundFile("Workbook", head + parts);
}

} // namespace nivex::data
