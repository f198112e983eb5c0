// zvk: works the instrument from a terminal. Each command is a row of the table.

#include "commands.h"

#include <cstdio>
#include <exception>

struct CommandRow
{
    const char *name;
    const char *summary;
    int (*run)(const Arguments &arguments);
};

static int HelpCommand(const Arguments &arguments);

static constexpr CommandRow kCommands[] = {
    {"analyse", "report on a force calibration from its data files", AnalyseCommand},
    {"calibrate", "find stiffness and sensitivity; without an instrument on the virtual one",
     CalibrateCommand},
    {"laser", "let the laser emit for as long as the command runs", LaserCommand},
    {"live", "steer traps with the mouse in the camera window", LiveCommand},
    {"help", "tell what there is", HelpCommand},
};

static void PrintHelp(FILE *out)
{
    std::fputs("usage: zvk COMMAND\n\n", out);
    for (const CommandRow &row : kCommands)
        std::fprintf(out, "  %-10s %s\n", row.name, row.summary);
    std::fputs(
        "\nThe instrument folder is the one that ZVK_COMMON_APPDATA names; without it, a copy "
        "of\nthe simulated sample that goes at the end.\n",
        out);
}

static int HelpCommand(const Arguments &)
{
    PrintHelp(stdout);
    return 0;
}

static int Run(const Arguments &arguments)
{
    for (const CommandRow &row : kCommands) {
        if (arguments.empty() || arguments[0] != row.name) continue;
        return row.run(Arguments(arguments.begin() + 1, arguments.end()));
    }
    PrintHelp(stderr);
    return 2;
}

int main(int argc, char **argv)
{
    try {
        return Run(Arguments(argv + 1, argv + argc));
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
}
