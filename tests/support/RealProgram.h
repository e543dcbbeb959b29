#pragma once

// The real program (build/Groovesmith) run as a user runs it: on a display of the test's own,
// its windows found and clicked with xdotool, ended by a signal when the test needs it to be.
#include <juce_events/juce_events.h>

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <functional>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

/** Waits until `condition` holds, at most `milliseconds`; whether it holds. */
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

/** True when no instance of the program holds its single-instance lock. */
inline bool noInstanceRunning()
{
    juce::InterProcessLock lock ("juceAppLock_Tonewell Groove Smith");
    if (! lock.enter (0))
        return false;
    lock.exit();
    return true;
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

/** A virtual display of the test's own, the process's DISPLAY while it lives, so that other
    tests' windows do not count and the program's single window is all there is. */
class PrivateDisplay
{
public:
    PrivateDisplay()
        : previous (juce::SystemStats::getEnvironmentVariable ("DISPLAY", {}))
    {
        if (! server.start (
                juce::StringArray{ "Xvfb", "-displayfd", "1", "-screen", "0", "800x600x24", "-nolisten", "tcp" },
                juce::ChildProcess::wantStdOut))
            return;

        juce::String number;
        for (int i = 0; i < 200 && ! number.endsWithChar ('\n'); ++i)
        {
            char c = 0;
            if (server.readProcessOutput (&c, 1) == 1)
                number += juce::String::charToString (c);
        }

        number = number.trim();
        if (number.isNotEmpty() && number.containsOnly ("0123456789"))
        {
            setenv ("DISPLAY", (":" + number).toRawUTF8(), 1);
            ready = true;
        }
    }

    ~PrivateDisplay()
    {
        setenv ("DISPLAY", previous.toRawUTF8(), 1);
        if (server.isRunning())
        {
            server.kill();
            server.waitForProcessToFinish (5000);
        }
    }

    bool isReady() const { return ready; }

private:
    juce::String previous;
    juce::ChildProcess server;
    bool ready = false;
};

/** The program started by the test, with its process id, so that the test can signal it. Its
    output goes to `logFile`. A program still running when this goes is killed. */
class RealProgram
{
public:
    RealProgram (const juce::File& program, const juce::File& logFile)
    {
        const std::string path = program.getFullPathName().toStdString();
        const std::string logPath = logFile.getFullPathName().toStdString();

        pid = fork();
        if (pid == 0)
        {
            // The program goes with the test process, even when that one dies.
            prctl (PR_SET_PDEATHSIG, SIGKILL);
            const int log = open (logPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            if (log >= 0)
            {
                dup2 (log, 1);
                dup2 (log, 2);
            }
            execl (path.c_str(), path.c_str(), (char*) nullptr);
            _exit (127);
        }
    }

    ~RealProgram()
    {
        if (isRunning())
        {
            signal (SIGKILL);
            waitForExit (10000);
        }
    }

    bool started() const { return pid > 0; }

    bool isRunning()
    {
        if (pid <= 0 || exited)
            return false;
        int status = 0;
        if (waitpid (pid, &status, WNOHANG) == pid)
        {
            exited = true;
            exitStatus = status;
            return false;
        }
        return true;
    }

    void signal (int number)
    {
        if (pid > 0 && ! exited)
            ::kill (pid, number);
    }

    /** Waits for the program to end, at most `milliseconds`; whether it ended. */
    bool waitForExit (int milliseconds)
    {
        return waitFor ([this] { return ! isRunning(); }, milliseconds);
    }

    /** The exit code of a program that ended by itself, or -1. */
    int exitCode() const { return exited && WIFEXITED (exitStatus) ? WEXITSTATUS (exitStatus) : -1; }

    /** The signal that ended it, or 0. */
    int endingSignal() const { return exited && WIFSIGNALED (exitStatus) ? WTERMSIG (exitStatus) : 0; }

private:
    pid_t pid = -1;
    bool exited = false;
    int exitStatus = 0;
};

/** Clicks at a point of the window, as the user's mouse would. */
inline bool clickInWindow (const juce::String& windowId, int x, int y)
{
    juce::ChildProcess click;
    if (! click.start (juce::StringArray{ "xdotool", "mousemove", "--window", windowId, juce::String (x),
                                          juce::String (y), "click", "1" }))
        return false;
    click.readAllProcessOutput();
    return click.waitForProcessToFinish (10000) && click.getExitCode() == 0;
}
