#include "NivexKit/Execution/Placing/OutputSet.hpp"

#include "NivexKit/Execution/Placing/OutputNaming.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Files/DestinationError.hpp"
#include "NivexKit/Foundation/Files/TreeRemoval.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <optional>

namespace nivex {

namespace fs = std::filesystem;

namespace {

constexpr int mostSetNumbers = 10'000;

using Files = std::vector<MadeFile>;

void checkStillThere(const OpenFolder& destination)
{
    if (!destination.standsAtLocation())
        throw ConversionError::destinationUnavailable("le dossier n'existe plus"_fr);
}

/// One placing. Unless it is told to keep them, what it placed goes again with it.
class Placing {
public:
    Placing(const OpenFolder& workspace, const OpenFolder& destination, NameNumbers& numbers)
        : workspace_{workspace}, destination_{destination}, numbers_{numbers}
    {
    }
    Placing(const Placing&) = delete;
    Placing& operator=(const Placing&) = delete;
    ~Placing()
    {
        if (!isKept_ && !placed_.empty())
            undo([this](const Placed& each) { removeTree(destination_, each.name); });
    }

    /// Under the first free name with a number.
    fs::path placeNumbered(const MadeFile& file)
    {
        const Source source = sourceOf(file);
        const fs::path location = OutputNaming::moveIntoPlace({source.parent, source.name}, destination_, file.baseName,
                                                              file.extension, {}, &numbers_);
        remember(source, location.filename());
        return location;
    }

    /// All under these names, or none.
    bool placeAs(const Files& files, const std::vector<std::string>& names)
    {
        if (std::ranges::any_of(names, [&](const std::string& name) { return destination_.entry(name).has_value(); }))
            return false;
        for (std::size_t i = 0; i < files.size(); ++i) {
            const Source source = sourceOf(files[i]);
            if (moveExclusively({source.parent, source.name}, {destination_, names[i]}) == MoveResult::nameTaken) {
                takeBack();
                return false;
            }
            remember(source, names[i]);
        }
        return true;
    }

    void keep() { isKept_ = true; }

private:
    /// A file in the workspace.
    struct Source {
        OpenFolder parent;
        std::string name;
    };
    struct Placed {
        Source source;
        std::string name;
        FileIdentity identity;
    };

    Source sourceOf(const MadeFile& file) const
    {
        auto parent = workspace_.folderBelow(file.location.parent_path().lexically_relative(workspace_.location()));
        if (!parent)
            throw ConversionError::outputVerificationFailed("fichier produit introuvable"_fr);
        return {*std::move(parent), file.location.filename()};
    }

    void remember(const Source& source, const std::string& name)
    {
        auto parent = source.parent.folderBelow({});
        const auto status = destination_.entry(name);
        if (parent && status)
            placed_.push_back({{*std::move(parent), source.name}, name, FileIdentity::of(*status)});
    }

    void takeBack()
    {
        undo([this](const Placed& each) {
            moveExclusively({destination_, each.name}, {each.source.parent, each.source.name});
        });
    }

    /// Only what still is what was placed: somebody may have put something else under its name since.
    template <class Undo>
    void undo(Undo act)
    {
        for (const Placed& each : placed_)
            if (destination_.holds(each.name, each.identity))
                act(each);
        placed_.clear();
        numbers_.forget();
    }

    const OpenFolder& workspace_;
    const OpenFolder& destination_;
    NameNumbers& numbers_;
    std::vector<Placed> placed_;
    bool isKept_ = false;
};

/// Names of one set: distinct whatever the case, in the order made.
Files withDistinctNames(Files files)
{
    AvoidedLocations given;
    for (MadeFile& file : files) {
        const std::string base = file.baseName;
        for (int number = 2; given.contains(file.fileName()); ++number)
            file.baseName = base + " " + std::to_string(number);
        given.insert(file.fileName());
    }
    return files;
}

/// The names with a number behind the base name that they share.
std::vector<std::string> numbered(const Files& files, const std::string& baseName, int number)
{
    std::vector<std::string> names;
    for (MadeFile file : files) {
        if (number > 1)
            file.baseName.insert(file.baseName.starts_with(baseName) ? baseName.size() : file.baseName.size(),
                                 " " + std::to_string(number));
        names.push_back(file.fileName());
    }
    return names;
}

/// Beside each other; none where they had better come in a folder.
std::optional<std::vector<fs::path>> placeLoosely(Placing& placing, const Files& files, const OpenFolder& destination,
                                                  const std::string& baseName)
{
    const bool areReferredTo = std::ranges::any_of(files, &MadeFile::isCompanion);
    const int mostNumbers = files.size() > mostLooseOutputs ? 0 : areReferredTo ? 1 : mostSetNumbers;
    for (int number = 1; number <= mostNumbers; ++number) {
        const std::vector<std::string> names = numbered(files, baseName, number);
        if (!placing.placeAs(files, names))
            continue;
        std::vector<fs::path> locations;
        for (const std::string& name : names)
            locations.push_back(destination.location().lexically_normal() / name);
        return locations;
    }
    return std::nullopt;
}

/// Gathers the files in a folder of the workspace.
MadeFile gathered(const Files& files, const OpenFolder& workspace, const std::string& baseName)
{
    const std::string name = "set";
    if (::mkdirat(workspace.descriptor(), name.c_str(), 0777) != 0)
        throw destinationError(errno, workspace.location());
    const auto set = workspace.folderBelow(name);
    for (const MadeFile& file : files) {
        const auto parent = workspace.folderBelow(file.location.parent_path().lexically_relative(workspace.location()));
        if (!set || !parent ||
            moveExclusively({*parent, file.location.filename()}, {*set, file.fileName()}) != MoveResult::moved)
            throw ConversionError::outputVerificationFailed("fichier produit introuvable"_fr);
    }
    return {.location = set->location(), .baseName = baseName};
}

} // namespace

std::vector<fs::path> placeOutputs(const std::vector<MadeFile>& files, const OpenFolder& workspace,
                                   const OpenFolder& destination, const std::string& baseName, NameNumbers& numbers)
{
    checkStillThere(destination);
    Placing placing{workspace, destination, numbers};
    std::vector<fs::path> locations;
    if (files.size() == 1) {
        locations.push_back(placing.placeNumbered(files.front()));
    } else if (const Files set = withDistinctNames(files);
               auto loose = placeLoosely(placing, set, destination, baseName)) {
        locations = *std::move(loose);
    } else {
        const fs::path folder = placing.placeNumbered(gathered(set, workspace, baseName));
        for (const MadeFile& file : set)
            locations.push_back(folder / file.fileName());
    }
    checkStillThere(destination); // a folder that was renamed meanwhile took the files with it
    placing.keep();
    return locations;
}

} // namespace nivex
