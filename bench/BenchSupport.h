#pragma once

// What the benchmarks that run the program's workers share: a folder of their own, away from the
// user's home, and JUCE told that it runs as an application.
#include <juce_gui_basics/juce_gui_basics.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <sys/resource.h>

namespace benchsupport
{
/** Tells JUCE it runs as an application, as the program does: JUCE then readies Xlib for
    threads and handles X errors itself. */
inline void runAsApplication()
{
    juce::JUCEApplicationBase::createInstance = []() -> juce::JUCEApplicationBase* { return nullptr; };
}

/** The benchmark's folder: GROOVESMITH_BENCH_HOME, or a new temporary folder that also becomes
    the home, since the project's settings are written below it. */
inline juce::File benchFolder()
{
    if (const char* home = std::getenv ("GROOVESMITH_BENCH_HOME"))
    {
        // A folder named for keeping the generated audio between runs may not exist yet.
        const juce::File kept (home);
        kept.createDirectory();
        return kept;
    }

    static const juce::File folder = []
    {
        auto made = juce::File::createTempFile ("groovesmith-bench");
        made.createDirectory();
        setenv ("HOME", made.getFullPathName().toRawUTF8(), 1);
        setenv ("XDG_CONFIG_HOME", made.getChildFile (".config").getFullPathName().toRawUTF8(), 1);
        return made;
    }();
    return folder;
}

/** False, and the benchmark skipped with a word on what to do, when there is no display for the
    progress windows. */
template <typename State>
bool haveDisplay (State& state, const char* script)
{
    if (juce::SystemStats::getEnvironmentVariable ("DISPLAY", {}).isNotEmpty())
        return true;

    state.SkipWithError ((juce::String ("the progress windows need a display: run ") + script).toRawUTF8());
    return false;
}
/** Peak and current resident memory in kB, from the kernel; the peak can be reset. */
inline long memoryFigure (const char* key)
{
    std::ifstream status ("/proc/self/status");
    std::string line;

    while (std::getline (status, line))
        if (line.rfind (key, 0) == 0)
            return std::atol (line.c_str() + std::char_traits<char>::length (key));

    return -1;
}

inline void resetPeakMemory()
{
    std::ofstream ("/proc/self/clear_refs") << "5";
}

/** Processor time of every thread of the process so far, in seconds. */
inline double processorSeconds()
{
    rusage usage{};
    getrusage (RUSAGE_SELF, &usage);
    return (double) usage.ru_utime.tv_sec + (double) usage.ru_stime.tv_sec +
           1.0e-6 * (double) (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

} // namespace benchsupport
