#pragma once

// The real program (build/Groovesmith) run as a user runs it: on a display of the test's own,
// its windows found and clicked with xdotool, ended by a signal when the test needs it to be.
#include "support/ProgramProcesses.h"

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
