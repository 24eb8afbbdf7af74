#include "NivexWorkers/Media/Tags.hpp"

#include <algorithm>
#include <new>
#include <span>
#include <string_view>

namespace nivex::media {
namespace {

/// "location", "location-eng", "com.apple.quicktime.location.ISO6709" and their like.
bool isOfPlace(std::string_view key)
{
    return key.find("location") != key.npos || key.find("LOCATION") != key.npos || key.find("ISO6709") != key.npos;
}

/// What the container writes by itself, or what speaks of the file it stood in.
bool isOfContainer(std::string_view key)
{
    constexpr std::string_view keys[] = {"major_brand",  "minor_version", "compatible_brands", "encoder",
                                         "handler_name", "vendor_id",     "DURATION",          "duration"};
    return std::ranges::find(keys, key) != std::end(keys) || key.starts_with("_STATISTICS");
}

/// The language is no metadata: it tells what to play.
bool isKept(std::string_view key, MetadataPolicy policy)
{
    if (isOfContainer(key))
        return false;
    switch (policy) {
    case MetadataPolicy::keep:
        return true;
    case MetadataPolicy::removeLocation:
        return !isOfPlace(key);
    case MetadataPolicy::removeAll:
        return key == "language";
    }
    return false;
}

} // namespace

void copyTags(const AVDictionary* from, AVDictionary*& to, MetadataPolicy policy)
{
    const AVDictionaryEntry* tag = nullptr;
    while ((tag = av_dict_get(from, "", tag, AV_DICT_IGNORE_SUFFIX)))
        if (isKept(tag->key, policy))
            av_dict_set(&to, tag->key, tag->value, AV_DICT_DONT_OVERWRITE);
}

bool namesPlace(const AVDictionary* tags)
{
    const AVDictionaryEntry* tag = nullptr;
    while ((tag = av_dict_get(tags, "", tag, AV_DICT_IGNORE_SUFFIX)))
        if (isOfPlace(tag->key))
            return true;
    return false;
}

void copyChapters(const AVFormatContext& from, AVFormatContext& to, std::int64_t start, MetadataPolicy policy)
{
    if (from.nb_chapters == 0)
        return;
    // The library frees both the array and what it points to with the file that they belong to.
    to.chapters = static_cast<AVChapter**>(av_calloc(from.nb_chapters, sizeof *to.chapters));
    if (!to.chapters)
        throw std::bad_alloc{};
    for (const AVChapter* chapter : std::span{from.chapters, from.nb_chapters}) {
        auto* copy = static_cast<AVChapter*>(av_mallocz(sizeof(AVChapter)));
        if (!copy)
            throw std::bad_alloc{};
        to.chapters[to.nb_chapters++] = copy;
        const std::int64_t shift = av_rescale_q(start, microseconds, chapter->time_base);
        copy->id = chapter->id;
        copy->time_base = chapter->time_base;
        copy->start = std::max<std::int64_t>(chapter->start - shift, 0);
        copy->end = std::max(chapter->end - shift, copy->start);
        copyTags(chapter->metadata, copy->metadata,
                 policy == MetadataPolicy::removeAll ? MetadataPolicy::keep : policy);
    }
}

} // namespace nivex::media
