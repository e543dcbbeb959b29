#pragma once

// A PipeWire of the test's own, as a desktop runs it: a session bus, PipeWire and WirePlumber in
// a runtime folder of their own, no real device, and a virtual turntable: what is played into the
// sink "deck" comes out of the source "turntable" (named "USB Turntable" for the user), which the
// program records. A sink "speakers" that leads nowhere stands for the desktop's loudspeakers. Everything it starts
// is stopped, by process id, when it goes, and dies with the test's process however that ends.
#include "support/ProgramProcesses.h"

#include <juce_core/juce_core.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

class PrivatePipeWire
{
public:
    /** Starts everything; `logFolder` takes each process's output. */
    explicit PrivatePipeWire (const juce::File& logFolder)
        : logs (logFolder)
    {
        // A short path: the sockets in it must fit in a socket address.
        char folderTemplate[] = "/tmp/groovesmith-pw-XXXXXX";
        if (mkdtemp (folderTemplate) == nullptr)
            return;
        runtime = juce::File (folderTemplate);

        if (! start ({ "dbus-daemon", "--session", "--nofork", "--nopidfile",
                       "--address=unix:path=" + runtime.getChildFile ("bus").getFullPathName().toStdString() },
                     "dbus.log") ||
            ! waitFor ([this] { return runtime.getChildFile ("bus").exists(); }, 10000))
            return;

        // The loudspeakers: a sink that leads nowhere, so that what the program plays never
        // comes back into the turntable. It is the graph's clock, as a sound card is on a desktop,
        // and the turntable runs in its group: the turntable is no device that could drive the
        // program's recording, which otherwise waited for a clock that PipeWire did not always give.
        const auto dropIns = runtime.getChildFile ("config/pipewire/pipewire.conf.d");
        if (! dropIns.createDirectory() ||
            ! dropIns.getChildFile ("speakers.conf")
                  .replaceWithText (
                      "context.objects = [\n"
                      "  { factory = adapter\n"
                      "    args = { factory.name = support.null-audio-sink node.name = speakers\n"
                      "             node.description = Speakers media.class = Audio/Sink priority.session = 3000\n"
                      "             node.group = desk\n"
                      "             audio.position = [ FL FR ] } }\n"
                      "]\n"))
            return;

        if (! start ({ "env", "XDG_CONFIG_HOME=" + runtime.getChildFile ("config").getFullPathName().toStdString(),
                       "pipewire" },
                     "pipewire.log") ||
            ! waitFor ([this] { return runtime.getChildFile ("pipewire-0").exists(); }, 10000))
            return;

        if (! start ({ "wireplumber" }, "wireplumber.log") ||
            ! start ({ "pw-loopback", "--group=desk", "--capture-props=media.class=Audio/Sink node.name=deck node.description=Deck",
                       "--playback-props=media.class=Audio/Source node.name=turntable "
                       "node.description=\"USB Turntable\" priority.session=4000" },
                     "loopback.log"))
            return;

        // Ready once the session manager has made the turntable the default source.
        ready = waitFor (
            [this]
            {
                const auto dump = run ({ "pw-dump" });
                return dump.contains ("\"turntable\"") && dump.contains ("\"speakers\"") &&
                       dump.contains ("\"default.audio.source\"");
            },
            20000);
    }

    ~PrivatePipeWire()
    {
        // The last started goes first.
        for (auto it = pids.rbegin(); it != pids.rend(); ++it)
            stop (*it);
        if (runtime.isDirectory())
            runtime.deleteRecursively();
    }

    bool isReady() const { return ready; }

    /** The variables that put a process on this PipeWire, as `env` takes them. */
    std::vector<std::string> environment() const
    {
        const auto folder = runtime.getFullPathName().toStdString();
        return { "XDG_RUNTIME_DIR=" + folder, "PIPEWIRE_RUNTIME_DIR=" + folder,
                 "DBUS_SESSION_BUS_ADDRESS=unix:path=" + folder + "/bus" };
    }

    /** `command` as a process on this PipeWire: under `env`, with the variables set and without
        a request of the test process's own for the graph's rate. */
    std::vector<std::string> onThisServer (const std::vector<std::string>& command) const
    {
        std::vector<std::string> full{ "env", "-u", "PIPEWIRE_PROPS", "-u", "PIPEWIRE_NODE" };
        for (const auto& variable : environment())
            full.push_back (variable);
        full.insert (full.end(), command.begin(), command.end());
        return full;
    }

    /** While it lives, the test's own process is on this PipeWire: its sound libraries (PipeWire's
        ALSA device) and the commands it starts reach this server. */
    class ThisProcessOnIt
    {
    public:
        explicit ThisProcessOnIt (const PrivatePipeWire& server)
        {
            for (const auto& variable : server.environment())
            {
                const auto name = variable.substr (0, variable.find ('='));
                const auto* value = std::getenv (name.c_str());
                previous.push_back ({ name, value != nullptr, value != nullptr ? value : "" });
                setenv (name.c_str(), variable.substr (name.size() + 1).c_str(), 1);
            }
        }

        ~ThisProcessOnIt()
        {
            for (const auto& variable : previous)
                if (variable.wasSet)
                    setenv (variable.name.c_str(), variable.value.c_str(), 1);
                else
                    unsetenv (variable.name.c_str());
        }

    private:
        struct Variable
        {
            std::string name;
            bool wasSet;
            std::string value;
        };
        std::vector<Variable> previous;
    };

    /** Runs a short command on this PipeWire; its output, or nothing when it fails. */
    juce::String run (const std::vector<std::string>& command, int milliseconds = 10000) const
    {
        juce::StringArray arguments;
        for (const auto& argument : onThisServer (command))
            arguments.add (argument);
        return outputOf (arguments, milliseconds);
    }

    /** Starts a process of the test's on this PipeWire, stopped with it; its process id or -1. */
    pid_t startOnThisServer (const std::vector<std::string>& command, const juce::String& logName)
    {
        const auto pid = startTiedToTheTest (onThisServer (command), logs.getChildFile (logName), SIGTERM);
        if (pid > 0)
            pids.push_back (pid);
        return pid;
    }

    /** Whether a process started here has ended, and then its exit code. */
    bool hasEnded (pid_t pid, int& exitCode)
    {
        int status = 0;
        if (waitpid (pid, &status, WNOHANG) != pid)
            return false;
        exitCode = WIFEXITED (status) ? WEXITSTATUS (status) : -1;
        pids.erase (std::remove (pids.begin(), pids.end(), pid), pids.end());
        return true;
    }

private:
    bool start (const std::vector<std::string>& command, const char* logName)
    {
        return startOnThisServer (command, logName) > 0;
    }

    static void stop (pid_t pid)
    {
        ::kill (pid, SIGTERM);
        for (int i = 0; i < 100; ++i)
        {
            if (waitpid (pid, nullptr, WNOHANG) == pid)
                return;
            juce::Thread::sleep (20);
        }
        ::kill (pid, SIGKILL);
        waitpid (pid, nullptr, 0);
    }

    juce::File logs;
    juce::File runtime;
    std::vector<pid_t> pids;
    bool ready = false;
};
