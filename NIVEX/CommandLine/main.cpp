#include "NIVEX/CommandLine/CommandLine.hpp"

#include "NivexKit/Foundation/Files/StandardDescriptors.hpp"
#include "NivexKit/Foundation/Running/WithTimeout.hpp"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <vector>

namespace {

/// How long an engine that was left behind may take to notice.
constexpr std::chrono::milliseconds patience{500};

} // namespace

int main(int argumentCount, char** arguments)
{
    nivex::openStandardDescriptors();
    const int status = nivex::commandline::runCommandLine({arguments + 1, arguments + argumentCount});
    if (nivex::operationsHaveEnded(patience))
        return status;
    std::cout.flush();
    std::fflush(nullptr);
    std::_Exit(status); // returning would destroy the constant tables under what still runs
}
