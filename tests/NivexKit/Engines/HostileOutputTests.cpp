#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Workers/WorkerPool.hpp"
#include "tests/Support/ConversionScene.hpp"

#include <gtest/gtest.h>

namespace nivex::testing {
namespace {

TEST(HostileOutput, NeverReachesTheDestination)
{
    WorkerPool pool{{.folders = {NIVEX_TEST_WORKERS_FOLDER}}};
    const struct {
        const char* forgery;
        FormatID target;
        const char* detail;
    } cases[] = {
        {"hand back launcher", "png", "son contenu est celui d'un programme"},
        {"hand back launcher", "txt", "son contenu est celui d'un programme"},
        {"hand back script", "webp", "son contenu est celui d'un programme"},
        {"hand back many", "png", "plus de fichiers que cette source n'en peut donner"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.forgery);
        ConversionScene scene;
        scene.engine->work = [&](const EngineRequest& request, const ProgressCallback& progress,
                                 const CancellationFlag& cancellation) {
            return pool.convert({.program = "hostile", .engine = each.forgery, .request = request}, progress,
                                cancellation);
        };
        EXPECT_EQ(scene.failure(scene.plan({"srt", each.target}), scene.input()),
                  ConversionError::outputVerificationFailed(each.detail));
        EXPECT_EQ(namesIn(scene.folder.path()), std::vector<std::string>{"film.srt"});
    }
}

} // namespace
} // namespace nivex::testing
