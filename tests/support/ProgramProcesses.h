#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <string>
#include <sys/prctl.h>
#include <sys/types.h>
#include <unistd.h>
#include <vector>

/** Tools for tests that start the program as a process of its own. */

/** Starts `arguments` (the first one found on the PATH) in a process whose output goes to `logFile`
    and which gets `deathSignal` when the test's process ends, however it ends, so that nothing a
    test started outlives it. Its process id, or -1 when it could not fork. */
inline pid_t startTiedToTheTest (const std::vector<std::string>& arguments, const juce::File& logFile, int deathSignal)
{
    std::vector<char*> argv;
    for (const auto& argument : arguments)
        argv.push_back (const_cast<char*> (argument.c_str()));
    argv.push_back (nullptr);
    const std::string logPath = logFile.getFullPathName().toStdString();

    const pid_t pid = fork();
    if (pid == 0)
    {
        prctl (PR_SET_PDEATHSIG, deathSignal);
        const int log = open (logPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (log >= 0)
        {
            dup2 (log, 1);
            dup2 (log, 2);
        }
        execvp (argv[0], argv.data());
        _exit (127);
    }
    return pid;
}

/** Ends a process of the test's when the test ends, however it ends. */
struct EndsWithTheTest
{
    juce::ChildProcess& process;
    ~EndsWithTheTest()
    {
        if (process.isRunning())
        {
            process.kill();
            process.waitForProcessToFinish (5000);
        }
    }
};

/**
    A test's turn with the real program. Tests that start it run one at a time on the machine,
    also when CTest runs them side by side: otherwise two could both find no instance running,
    both start one, and the single-instance rule would end one test's program. Waits up to ten
    minutes for the turn; held until it goes.
*/
class ProgramTurn
{
public:
    ProgramTurn()
        : held (lock.enter (600000))
    {
    }
    ~ProgramTurn()
    {
        if (held)
            lock.exit();
    }

    bool isHeld() const { return held; }

private:
    juce::InterProcessLock lock{ "Groovesmith tests with the real program" };
    bool held;
};

/** True when no instance of the program holds its single-instance lock. */
inline bool noInstanceRunning()
{
    juce::InterProcessLock lock ("juceAppLock_Tonewell Groove Smith");
    if (! lock.enter (0))
        return false;
    lock.exit();
    return true;
}

/** Asks `condition` every 50 ms until it holds or the time is up; the last answer. */
inline bool waitFor (const std::function<bool()>& condition, int milliseconds)
{
    const auto end = juce::Time::getMillisecondCounter() + (juce::uint32) milliseconds;
    while (juce::Time::getMillisecondCounter() < end)
    {
        if (condition())
            return true;
        juce::Thread::sleep (50);
    }
    return condition();
}

/** The output of a command, or an empty string when it cannot start or does not end in time. The
    command runs under coreutils' `timeout`, so that one that hangs (an X client waiting on a busy
    server, say) is killed and cannot hold the test, and a program it watches, for good. */
inline juce::String outputOf (const juce::StringArray& command, int milliseconds = 20000)
{
    juce::StringArray bounded{ "timeout", "-k", "5", juce::String (milliseconds / 1000.0, 3) };
    bounded.addArray (command);
    juce::ChildProcess process;
    if (! process.start (bounded))
        return {};
    const auto output = process.readAllProcessOutput();
    return process.waitForProcessToFinish (milliseconds) ? output : juce::String();
}

/** The windows whose titles match `pattern` (xdotool's), visible ones only; with `topLevel`,
    only those directly on the screen. Their ids, or none when xdotool fails. */
inline juce::StringArray findWindows (const juce::String& pattern, bool topLevel = false)
{
    juce::StringArray command{ "xdotool", "search", "--onlyvisible" };
    if (topLevel)
        command.addArray ({ "--maxdepth", "1" });
    command.addArray ({ "--name", pattern });

    juce::ChildProcess search;
    if (! search.start (command))
        return {};
    auto lines = juce::StringArray::fromLines (search.readAllProcessOutput());
    lines.removeEmptyStrings();
    return lines;
}

/** The window on the display whose title begins with `title`, or an empty string. */
inline juce::String windowNamed (const juce::String& title)
{
    const auto ids = findWindows ("^" + title);
    return ids.size() == 1 ? ids[0] : juce::String();
}

/** The window whose title begins with `title` once it has stayed the same window for a second, or
    an empty string when none does in time. The program's window is made again as it opens (its
    native title bar is set after it is shown), and on a slow machine the first one lasts a while. */
inline juce::String settledWindowNamed (const juce::String& title, int milliseconds)
{
    juce::String window;
    auto since = juce::Time::getMillisecondCounter();
    const bool settled = waitFor (
        [&]
        {
            const auto found = windowNamed (title);
            if (found != window)
            {
                window = found;
                since = juce::Time::getMillisecondCounter();
            }
            return window.isNotEmpty() && juce::Time::getMillisecondCounter() - since >= 1000;
        },
        milliseconds);
    return settled ? window : juce::String();
}

/**
    A virtual display of the test's own (Xvfb), so that the windows the test looks for are the only
    ones there. While it lives, DISPLAY names it for the processes the test starts; the framework of
    the test process itself stays on the display it began with (or opens now).
*/
class OwnDisplay
{
public:
    explicit OwnDisplay (const juce::String& screen = "800x600x24")
        : previous (juce::SystemStats::getEnvironmentVariable ("DISPLAY", {}))
    {
        // The framework opens its display when first asked: it must be the test's own one, which
        // outlives this one.
        juce::Desktop::getInstance().getDisplays();

        if (! server.start (juce::StringArray{ "Xvfb", "-displayfd", "1", "-screen", "0", screen, "-nolisten", "tcp" },
                            juce::ChildProcess::wantStdOut))
            return;

        juce::String digits;
        for (int i = 0; i < 200 && ! digits.endsWithChar ('\n'); ++i)
        {
            char c = 0;
            if (server.readProcessOutput (&c, 1) == 1)
                digits += juce::String::charToString (c);
        }

        digits = digits.trim();
        if (digits.isNotEmpty() && digits.containsOnly ("0123456789"))
        {
            number = digits;
            setenv ("DISPLAY", (":" + number).toRawUTF8(), 1);
        }
    }

    ~OwnDisplay()
    {
        setenv ("DISPLAY", previous.toRawUTF8(), 1);
        if (server.isRunning())
        {
            server.kill();
            server.waitForProcessToFinish (5000);
        }
    }

    /** True when the display runs and DISPLAY names it. */
    bool isReady() const { return number.isNotEmpty(); }

private:
    juce::String previous;
    juce::String number;
    juce::ChildProcess server;
};
