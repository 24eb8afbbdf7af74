#pragma once

#include "NivexWorkers/Data/Json/JsonReader.hpp"
#include "NivexWorkers/Data/Json/JsonWriter.hpp"
#include "NivexWorkers/Data/Model/TableToTree.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace nivex::data {

/// Reads bytes as nested data. Whatever they are, a reader makes a tree of them that can be written as JSON and read
/// back, or throws a ConversionError.
template <class ReadTree>
int readToTheLastValue(ReadTree readTree, const std::uint8_t* bytes, std::size_t size)
{
    const MemorySource source{std::as_bytes(std::span{bytes, size})};
    Remarks remarks;
    const auto asJson = [&remarks](auto read, const ByteSource& from) {
        std::string json;
        StringSink sink{json};
        TextOutput text{sink};
        JsonWriter writer{text, 1};
        read(Input{.bytes = from, .remarks = remarks, .limits = {}}, writer);
        text.flush();
        return json;
    };
    std::string json;
    try {
        json = asJson(readTree, source);
    } catch (const ConversionError&) {
        return 0;
    }
    if (asJson(readJson, MemorySource{std::as_bytes(std::span{json})}) != json)
        std::abort();
    return 0;
}

/// Reads bytes as a table, with types and without. Whatever they are, a reader makes a table of them that can be
/// written as JSON and read back, or throws a ConversionError.
template <class ReadTable>
int readToTheLastRow(ReadTable readTable, const std::uint8_t* bytes, std::size_t size)
{
    const MemorySource source{std::as_bytes(std::span{bytes, size})};
    for (const bool wantsTypes : {false, true}) {
        Remarks remarks;
        std::string json;
        try {
            StringSink sink{json};
            TextOutput text{sink};
            JsonWriter writer{text, 1};
            TableToTree tree{writer, remarks};
            readTable(Input{.bytes = source, .remarks = remarks, .limits = {}, .wantsTypes = wantsTypes}, tree);
            tree.finish();
            text.flush();
        } catch (const ConversionError&) {
            continue;
        }
        const MemorySource written{std::as_bytes(std::span{json})};
        std::string again;
        StringSink sink{again};
        TextOutput text{sink};
        JsonWriter writer{text, 1};
        readJson(Input{.bytes = written, .remarks = remarks, .limits = {}}, writer);
        text.flush();
        if (again != json)
            std::abort();
    }
    return 0;
}

} // namespace nivex::data
