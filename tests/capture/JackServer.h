#pragma once

// A JACK server on the dummy backend for one test, the program's choice of it as its device, and
// the tests' JACK client that plays a generated record into the program's inputs.
#include "app/MainComponent.h"
#include "project/Project.h"
#include "support/ProgramProcesses.h"

#include <juce_data_structures/juce_data_structures.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace
{
constexpr int serverRate = 44100;
constexpr int serverBlock = 512;

/** A JACK server of the test's own, stopped with the test. */
class JackServer
{
public:
    /** With `synchronous`, every cycle waits for all clients (up to the timeout) before the next
        one: a busy machine makes cycles late but never hands a client a block that another one
        had no time to fill. Without it, a client that misses its deadline is an xrun. */
    JackServer (const juce::String& name, const juce::File& logFile, bool synchronous = false)
        : serverName (name)
    {
        // A long client timeout, so that a busy machine delays cycles rather than dropping a client.
        std::vector<std::string> arguments{ "jackd", "--no-realtime", "-t", "10000", "-n", name.toStdString() };
        if (synchronous)
            arguments.push_back ("--sync");
        arguments.insert (arguments.end(), { "-d", "dummy", "-r", std::to_string (serverRate), "-p",
                                             std::to_string (serverBlock), "-C", "2", "-P", "2" });
        pid = startTiedToTheTest (arguments, logFile, SIGTERM);
    }

    ~JackServer()
    {
        if (pid <= 0)
            return;

        ::kill (pid, SIGTERM);
        for (int i = 0; i < 100; ++i)
        {
            if (waitpid (pid, nullptr, WNOHANG) == pid)
            {
                removeSharedFiles();
                return;
            }
            juce::Thread::sleep (50);
        }
        ::kill (pid, SIGKILL);
        waitpid (pid, nullptr, 0);
        forgetKilledServer();
        removeSharedFiles();
    }

    bool isRunning() const { return pid > 0; }

private:
    /** A server that had to be killed (one whose client was killed in the middle of a cycle may
        not end when told to) leaves its name in JACK's registry of servers, which holds eight:
        after eight such tests no server would start on this machine. What the server would have
        taken back on a clean exit is taken back here: its entry, found by its process id. The
        layout is that of jackd 1.9 on Linux. */
    void forgetKilledServer() const
    {
        constexpr int headerBytes = 24, serverBytes = 264, maxServers = 8;
        const int registry = open ("/dev/shm/jack-shm-registry", O_RDWR);
        if (registry >= 0)
        {
            for (int i = 0; i < maxServers; ++i)
            {
                const off_t offset = headerBytes + i * serverBytes;
                std::int32_t registered = 0;
                if (pread (registry, &registered, sizeof (registered), offset) == (ssize_t) sizeof (registered) &&
                    registered == pid)
                {
                    const std::vector<char> cleared ((size_t) serverBytes, 0);
                    juce::ignoreUnused (pwrite (registry, cleared.data(), cleared.size(), offset));
                }
            }
            close (registry);
        }
    }

    /** The shared memory files of the server, which it does not always remove when it ends. */
    void removeSharedFiles() const
    {
        for (const auto& file : juce::File ("/dev/shm").findChildFiles (juce::File::findFiles, false))
            if (file.getFileName().startsWith ("jack_" + serverName + "_") ||
                file.getFileName().startsWith ("jack_sem.0_" + serverName + "_"))
                file.deleteFile();
    }

    pid_t pid = -1;
    juce::String serverName;
};

/** Held while a JACK server starts and the program opens it, across processes. */
class StartLock
{
public:
    StartLock()
        : descriptor (open ("/tmp/groovesmith-jack-start.lock", O_RDWR | O_CREAT, 0666))
    {
        if (descriptor >= 0)
            flock (descriptor, LOCK_EX);
    }

    ~StartLock()
    {
        if (descriptor >= 0)
            close (descriptor); // releases the lock
    }

private:
    const int descriptor;
};

/** Writes the settings of a user who chose the JACK device on the setup page. */
inline void chooseJackDevice()
{
    juce::PropertiesFile::Options options;
    options.ignoreCaseOfKeyNames = true;
    options.storageFormat = juce::PropertiesFile::storeAsXML;
    juce::PropertiesFile settings (Project::settingsFileLocation(), options);
    juce::XmlElement state ("DEVICESETUP");
    state.setAttribute ("deviceType", "JACK");
    state.setAttribute ("audioOutputDeviceName", "system");
    state.setAttribute ("audioInputDeviceName", "system");
    settings.setValue ("devicesettings", &state);
    settings.saveIfNeeded();
}

/** Runs the record player to its end; its exit code, or -1 when it could not start. */
inline int runRecordPlayer (const juce::StringArray& arguments, juce::String& output)
{
    juce::ChildProcess player;
    juce::StringArray command (GROOVESMITH_RECORD_PLAYER);
    command.addArray (arguments);
    if (! player.start (command))
        return -1;
    output = player.readAllProcessOutput();
    player.waitForProcessToFinish (60000);
    return static_cast<int> (player.getExitCode());
}
} // namespace
