#pragma once

// The real program (build/Groovesmith) run as a user runs it: on a display of the test's own,
// its windows found and clicked with xdotool, ended by a signal when the test needs it to be.
#include "support/ProgramProcesses.h"

#include <juce_events/juce_events.h>

#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <sys/wait.h>
#include <unistd.h>

/** The program started by the test, with its process id, so that the test can signal it. Its
    output goes to `logFile`. A program still running when this goes is killed. */
class RealProgram
{
public:
    RealProgram (const juce::File& program, const juce::File& logFile)
        : RealProgram (std::vector<std::string>{ program.getFullPathName().toStdString() }, logFile)
    {
    }

    /** The program started by `command`: itself, or a launcher that ends in it (`env`, `pw-jack`). */
    RealProgram (const std::vector<std::string>& command, const juce::File& logFile)
        : pid (startTiedToTheTest (command, logFile, SIGKILL))
    {
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
