#include "NIVEX/CommandLine/CommandLine.hpp"

#include <vector>

int main(int argumentCount, char** arguments)
{
    return nivex::commandline::runCommandLine({arguments + 1, arguments + argumentCount});
}
