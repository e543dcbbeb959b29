#pragma once

// What the benchmarks that run the program's workers share: a folder of their own, away from the
// user's home, and JUCE told that it runs as an application.
#include <juce_gui_basics/juce_gui_basics.h>

#include <cstdlib>

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
} // namespace benchsupport
