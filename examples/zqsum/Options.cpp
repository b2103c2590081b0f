#include "Options.h"

#include "ZQOSApi.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace
{
constexpr int WrongUsage = 2;
constexpr int MostSlots = 1024;

/// The directories among what the parser has left over, where "--" still stands.
std::vector<std::string> TakeDirs(std::vector<std::string> rest)
{
    const auto marker = std::find(rest.begin(), rest.end(), "--");
    const auto unknown =
        std::find_if(rest.begin(), marker, [](const std::string& arg) { return arg.size() > 1 && arg[0] == '-'; });
    if (unknown != marker)
    {
        throw CLI::ExtrasError({*unknown});
    }
    if (marker != rest.end())
    {
        rest.erase(marker);
    }
    if (rest.empty())
    {
        throw CLI::RequiredError("DIR");
    }
    return rest;
}
}  // namespace

bool ParseOptions(int argc, char** argv, Options& options, int& exitCode)
{
    CLI::App app("Prints the SHA-256 of every regular file below each DIR, sorted by path, as sha256sum does.",
                 "zqsum");
    options.nSlots = std::min(ZQGetCPUProcessorNumber(), MostSlots);
    app.add_option("-j", options.nSlots, "Files hashed at a time (default: the number of processors)")
        ->type_name("N")
        ->check(CLI::Range(1, MostSlots));
    app.add_flag("-q", options.bQuiet, "Neither progress nor summary");
    // The parser takes a value such as "[a]" or "{}" for a list. What no option takes it hands out untouched, so this one
    // stands for the help text only: it expects no value and takes none.
    app.add_option("DIR", "Directories to walk; a file is hashed as it is")->expected(0)->allow_extra_args(false);
    app.allow_extras();
    try
    {
        app.parse(argc, argv);
        options.listDirs = TakeDirs(app.remaining());
        return true;
    }
    catch (const CLI::ParseError& error)
    {
        exitCode = app.exit(error) == 0 ? 0 : WrongUsage;
        return false;
    }
}
