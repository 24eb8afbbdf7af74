#include "NivexKit/Execution/Companions.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Files/OpenFolder.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <optional>
#include <utility>

namespace nivex {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t longestPath = 1'024; // bytes

class CompanionSearch {
public:
    CompanionSearch(const EngineRequest& request, const ConversionEngine& engine, OpenFolder folder)
        : request_{request}, engine_{engine}, folder_{std::move(folder)}
    {
    }

    std::vector<fs::path> run()
    {
        bytes_ = sizeOf(request_.input.filename());
        follow({});
        // What a companion refers to is appended behind it, and followed in its turn.
        for (std::size_t i = 0; i < found_.size(); ++i)
            follow(fs::path{found_[i]});
        return std::move(found_);
    }

private:
    /// companion  as a path from the folder; empty for the input
    void follow(const fs::path& companion)
    {
        const fs::path file = companion.empty() ? request_.input : request_.input.parent_path() / companion;
        for (const fs::path& name : engine_.references(request_, file))
            take((companion.parent_path() / name).lexically_normal());
    }

    void take(const fs::path& path)
    {
        if (path.empty() || path.native().size() > longestPath || path == request_.input.filename())
            return;
        if (path.is_absolute() || *path.begin() == "..")
            return warnOf(path);
        std::optional<fs::path> there = isFile(path) ? std::optional{path} : namedAlmost(path);
        if (there && std::ranges::find(found_, *there) == found_.end())
            add(*std::move(there));
    }

    void add(fs::path path)
    {
        if (found_.size() == mostCompanions)
            throw ConversionError::resourceLimit("ce fichier fait appel à trop d'autres fichiers"_fr);
        bytes_ += sizeOf(path);
        if (bytes_ > request_.limits.maxInputBytes)
            throw ConversionError::resourceLimit("les fichiers auxquels il fait appel sont trop volumineux"_fr);
        found_.push_back(std::move(path));
    }

    bool isFile(const fs::path& path)
    {
        const FileDescriptor file = folder_.openBelow(path, O_PATH);
        struct stat status {};
        if (!file.isOpen() && (errno == ELOOP || errno == EXDEV))
            warnOf(path);
        return file.isOpen() && ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode);
    }

    std::int64_t sizeOf(const fs::path& path) const
    {
        struct stat status {};
        const FileDescriptor file = folder_.openBelow(path, O_PATH);
        return file.isOpen() && ::fstat(file.get(), &status) == 0 ? std::int64_t{status.st_size} : 0;
    }

    /// The file of the same folder whose name differs in the case of its letters only.
    std::optional<fs::path> namedAlmost(const fs::path& path)
    {
        const auto folder = folder_.folderBelow(path.parent_path());
        if (!folder)
            return std::nullopt;
        const std::string wanted = lowercased(path.filename().native());
        for (const std::string& name : folder->names())
            if (lowercased(name) == wanted && isFile(path.parent_path() / name))
                return path.parent_path() / name;
        return std::nullopt;
    }

    void warnOf(const fs::path& path) const
    {
        request_.warn(
            filled("« {} » n'est pas lu : seuls les fichiers du dossier de la source le sont."_fr, {shownPath(path)}));
    }

    const EngineRequest& request_;
    const ConversionEngine& engine_;
    OpenFolder folder_;
    std::vector<fs::path> found_;
    std::int64_t bytes_ = 0;
};

} // namespace

std::vector<fs::path> companionsOf(const EngineRequest& request, const ConversionEngine& engine)
{
    auto folder = OpenFolder::open(request.input.parent_path());
    return folder ? CompanionSearch{request, engine, *std::move(folder)}.run() : std::vector<fs::path>{};
}

} // namespace nivex
