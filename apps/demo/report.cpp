// The demo's lines: a step and its outcome, and a bar that grows.

#include "demo.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <unistd.h>

constexpr int kWhatWidth = 46;
constexpr int kBarWidth = 24;

std::string Format(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    char text[512];
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return text;
}

void PrintTitle(const std::string &title)
{
    std::printf("\n%s\n%s\n", title.c_str(), std::string(title.size(), '-').c_str());
}

void PrintStep(const std::string &what, const std::string &outcome)
{
    std::printf("  %-*s %s\n", kWhatWidth, what.c_str(), outcome.c_str());
    std::fflush(stdout);
}

// On a terminal the bar is drawn over itself; in a file only the finished one is written.
void PrintProgress(const std::string &what, double share)
{
    const bool terminal = isatty(STDOUT_FILENO) != 0;
    if (share < 1.0 && !terminal) return;
    const int filled = static_cast<int>(std::clamp(share, 0.0, 1.0) * kBarWidth);
    const std::string bar = std::string(filled, '#') + std::string(kBarWidth - filled, '.');
    std::printf("%s  %-*s [%s]%s", terminal ? "\r" : "", kWhatWidth, what.c_str(), bar.c_str(),
                share >= 1.0 ? "\n" : "");
    std::fflush(stdout);
}
