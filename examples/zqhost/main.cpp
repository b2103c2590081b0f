// Prints what the library can tell about this machine and this process.

#include "HostFacts.h"
#include "OutputStream.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstring>
#include <exception>

namespace
{
constexpr int WrongUsage = 2;

int Run(int argc, char** argv)
{
    CLI::App app("Reports on this machine and this process.", "zqhost");
    std::string remote;
    bool json = false;
    app.add_option("HOST", remote, "A host name or address: also guess which local address is used towards it");
    app.add_flag("--json", json, "Write one JSON object");
    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::ParseError& error)
    {
        return app.exit(error) == 0 ? 0 : WrongUsage;
    }
    OutputStream output;
    const HostFacts facts = GatherFacts(remote);
    output.Write(json ? JsonReport(facts) : TextReport(facts));
    const int error = output.Close();
    if (error != 0)
    {
        fprintf(stderr, "zqhost: standard output: %s\n", strerror(error));
    }
    return error == 0 ? 0 : 1;
}
}  // namespace

int main(int argc, char** argv)
{
    try
    {
        return Run(argc, argv);
    }
    catch (const std::exception& error)
    {
        fprintf(stderr, "zqhost: %s\n", error.what());
        return 1;
    }
}
