// Plays a generated record into the inputs of the program under test, through a JACK server.
//
//   groovesmith_record_player --probe
//       waits until the server (JACK_DEFAULT_SERVER) takes clients, at most ten seconds.
//   groovesmith_record_player --record DESCRIPTION [--freewheel] [--cycle-sleep-us N]
//       finds the ports that listen to the server's capture ports, feeds them the record from
//       the start of a cycle on instead of the capture ports, gives them back to the capture
//       ports and exits once it has played it. The description's segments are those of
//       Record.h, "pcm:PATH" among them for a side made by the tests' generator of sides.
//       With --freewheel the server runs as fast as the clients allow; the sleep in each cycle
//       keeps the cycles a little apart.
//       --stall-every FRAMES --stall-ms MS: in real time, the cycle that passes each multiple of
//       FRAMES of the record sleeps MS milliseconds, longer than a cycle lasts, so that the
//       server misses its deadline (an xrun) as a busy machine would make it.
//       --position-file PATH: the frames played so far are written to PATH, a hundred times a
//       second, for a test that has to know how much of the record went out.
//   groovesmith_record_player --deck DESCRIPTION
//       a record deck for the demo of script/run: takes the capture ports' place as above, then
//       waits with the record at its start. SIGUSR1 plays it from the start (from the start
//       again while it plays), SIGUSR2 stops it and puts it back at the start, and at its end
//       it stops and goes back to the start by itself. SIGTERM or SIGINT gives the inputs back
//       to the capture ports and ends the player.
#include "Record.h"

#include <jack/jack.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>
#include <sys/prctl.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{
struct Player
{
    jack_client_t* client = nullptr;
    jack_port_t* outputs[2] = { nullptr, nullptr };
    const test_record::Record* record = nullptr;
    std::atomic<bool> playing{ false };
    std::atomic<bool> finished{ false };
    std::atomic<bool> freewheeling{ false };
    std::atomic<std::int64_t> position{ 0 };
    unsigned cycleSleepMicroseconds = 0;
    std::int64_t stallEvery = 0;
    unsigned stallMicroseconds = 0;

    // The deck's requests, taken by the process callback so that only it moves the record.
    bool deck = false;
    std::atomic<bool> restart{ false };
    std::atomic<bool> halt{ false };
};

// What the deck is asked by signals; plain lock-free flags, safe to set in a handler.
std::atomic<bool> playRequested{ false };
std::atomic<bool> stopRequested{ false };
std::atomic<bool> endRequested{ false };

void onDeckSignal (int signalNumber)
{
    if (signalNumber == SIGUSR1)
        playRequested = true;
    else if (signalNumber == SIGUSR2)
        stopRequested = true;
    else
        endRequested = true;
}

int process (jack_nframes_t frames, void* argument)
{
    auto& player = *static_cast<Player*> (argument);
    auto* left = static_cast<float*> (jack_port_get_buffer (player.outputs[0], frames));
    auto* right = static_cast<float*> (jack_port_get_buffer (player.outputs[1], frames));

    if (player.restart.exchange (false))
    {
        player.position = 0;
        player.playing = true;
    }

    if (player.halt.exchange (false))
    {
        player.playing = false;
        player.position = 0;
    }

    if (player.playing.load())
    {
        const auto position = player.position.load();
        player.record->render (position, static_cast<int> (frames), left, right);
        player.position = position + frames;
        if (position + frames >= player.record->getLength())
        {
            player.finished = true;

            // The deck stops at the end and waits at the start for the next play.
            if (player.deck)
            {
                player.playing = false;
                player.position = 0;
            }
        }

        if (player.stallEvery > 0 && (position + frames) / player.stallEvery != position / player.stallEvery)
            usleep (player.stallMicroseconds);
    }
    else
    {
        std::memset (left, 0, frames * sizeof (float));
        std::memset (right, 0, frames * sizeof (float));
    }

    // Keeps freewheel cycles apart, from the first to the last.
    if (player.freewheeling.load() && player.cycleSleepMicroseconds > 0)
        usleep (player.cycleSleepMicroseconds);

    return 0;
}

/** Writes the frames played so far to `path`, whole or not at all. */
void writePosition (const std::string& path, std::int64_t position)
{
    const auto temporary = path + ".new";
    if (auto* file = std::fopen (temporary.c_str(), "w"))
    {
        std::fprintf (file, "%lld\n", static_cast<long long> (position));
        std::fclose (file);
        std::rename (temporary.c_str(), path.c_str());
    }
}

void freewheelChanged (int starting, void* argument)
{
    static_cast<Player*> (argument)->freewheeling = starting != 0;
}

/** Waits until the server is in (or out of) freewheel, at most ten seconds. */
bool waitForFreewheel (const Player& player, bool on)
{
    for (int i = 0; i < 1000 && player.freewheeling.load() != on; ++i)
        std::this_thread::sleep_for (std::chrono::milliseconds (10));
    return player.freewheeling.load() == on;
}

jack_client_t* openClient (const char* name, int attempts)
{
    for (int i = 0; i < attempts; ++i)
    {
        jack_status_t status{};
        if (auto* client = jack_client_open (name, JackNoStartServer, &status))
            return client;
        std::this_thread::sleep_for (std::chrono::milliseconds (100));
    }
    return nullptr;
}

/** The input ports that the server's capture port `index` feeds, other than ours. */
std::vector<std::string> listeners (jack_client_t* client, int index)
{
    std::vector<std::string> names;
    const auto capture = "system:capture_" + std::to_string (index);
    if (auto* port = jack_port_by_name (client, capture.c_str()))
    {
        if (const char** connections = jack_port_get_all_connections (client, port))
        {
            for (int i = 0; connections[i] != nullptr; ++i)
                names.emplace_back (connections[i]);
            jack_free (connections);
        }
    }
    return names;
}
} // namespace

int main (int argc, char** argv)
{
    // The player belongs to the test that started it: it ends with that process, even when the
    // test crashes or is killed by its time limit, rather than play on into the next test's server.
    prctl (PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() == 1)
        return 1;

    std::string description, positionFile;
    bool freewheel = false, probe = false, deck = false;
    unsigned cycleSleep = 0, stallMilliseconds = 0;
    std::int64_t stallEvery = 0;

    for (int i = 1; i < argc; ++i)
    {
        const std::string argument = argv[i];
        if (argument == "--probe")
            probe = true;
        else if (argument == "--freewheel")
            freewheel = true;
        else if (argument == "--record" && i + 1 < argc)
            description = argv[++i];
        else if (argument == "--deck" && i + 1 < argc)
        {
            description = argv[++i];
            deck = true;
        }
        else if (argument == "--cycle-sleep-us" && i + 1 < argc)
            cycleSleep = static_cast<unsigned> (std::stoul (argv[++i]));
        else if (argument == "--stall-every" && i + 1 < argc)
            stallEvery = std::stoll (argv[++i]);
        else if (argument == "--stall-ms" && i + 1 < argc)
            stallMilliseconds = static_cast<unsigned> (std::stoul (argv[++i]));
        else if (argument == "--position-file" && i + 1 < argc)
            positionFile = argv[++i];
    }

    if (probe)
    {
        auto* client = openClient ("record_probe", 100);
        if (client == nullptr)
            return 1;
        jack_client_close (client);
        return 0;
    }

    // The deck's signals are heard from the start, so that none ends it unasked.
    if (deck)
    {
        struct sigaction action
        {
        };
        action.sa_handler = onDeckSignal;
        sigemptyset (&action.sa_mask);
        for (const int signalNumber : { SIGUSR1, SIGUSR2, SIGTERM, SIGINT })
            sigaction (signalNumber, &action, nullptr);
    }

    Player player;
    player.deck = deck;
    player.client = openClient ("record_player", 50);
    if (player.client == nullptr)
    {
        std::fprintf (stderr, "no JACK server\n");
        return 1;
    }

    const test_record::Record record (description, jack_get_sample_rate (player.client));
    if (! record.isValid())
    {
        std::fprintf (stderr, "bad record description\n");
        return 2;
    }
    player.record = &record;
    player.cycleSleepMicroseconds = freewheel ? cycleSleep : 0;
    player.stallEvery = freewheel ? 0 : stallEvery;
    player.stallMicroseconds = stallMilliseconds * 1000;

    player.outputs[0] = jack_port_register (player.client, "out_1", JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput, 0);
    player.outputs[1] = jack_port_register (player.client, "out_2", JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput, 0);
    jack_set_process_callback (player.client, process, &player);
    jack_set_freewheel_callback (player.client, freewheelChanged, &player);
    if (jack_activate (player.client) != 0)
        return 3;

    // The program listens to the capture ports; the record takes their place. Our ports are
    // connected before theirs are taken away, so the program never sees its inputs unconnected.
    std::vector<std::string> targets[2];
    for (int attempt = 0; attempt < 100 && (targets[0].empty() || targets[1].empty()); ++attempt)
    {
        targets[0] = listeners (player.client, 1);
        targets[1] = listeners (player.client, 2);
        if (targets[0].empty() || targets[1].empty())
            std::this_thread::sleep_for (std::chrono::milliseconds (100));
    }
    if (targets[0].empty() || targets[1].empty())
    {
        std::fprintf (stderr, "nothing listens to the capture ports\n");
        return 4;
    }

    for (int channel = 0; channel < 2; ++channel)
    {
        const auto capture = "system:capture_" + std::to_string (channel + 1);
        for (const auto& target : targets[channel])
        {
            jack_connect (player.client, jack_port_name (player.outputs[channel]), target.c_str());
            jack_disconnect (player.client, capture.c_str(), target.c_str());
        }
    }

    // Lets the new connections reach the graph before the first frame is played.
    std::this_thread::sleep_for (std::chrono::milliseconds (300));

    // The whole record goes out in freewheel, where the server waits for every client in every
    // cycle, so that no frame can be lost or repeated on a busy machine.
    if (freewheel)
    {
        jack_set_freewheel (player.client, 1);
        if (! waitForFreewheel (player, true))
        {
            std::fprintf (stderr, "the server does not freewheel\n");
            return 6;
        }
    }

    if (deck)
    {
        // Until it is told to end: each play request starts the record again, each stop puts it
        // back at the start.
        while (! endRequested.load())
        {
            if (playRequested.exchange (false))
                player.restart = true;
            if (stopRequested.exchange (false))
                player.halt = true;
            std::this_thread::sleep_for (std::chrono::milliseconds (10));
        }
        player.halt = true;
        std::this_thread::sleep_for (std::chrono::milliseconds (100));
        player.finished = true;
    }

    player.playing = ! deck;

    // Four hours of audio at most, even in real time.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::hours (4);
    while (! player.finished.load() && std::chrono::steady_clock::now() < deadline)
    {
        if (! positionFile.empty())
            writePosition (positionFile, player.position.load());
        std::this_thread::sleep_for (std::chrono::milliseconds (10));
    }
    if (! positionFile.empty())
        writePosition (positionFile, player.position.load());

    if (freewheel)
    {
        // Our cycles keep their pause until the server has left freewheel.
        jack_set_freewheel (player.client, 0);
        waitForFreewheel (player, false);
    }

    // The capture ports take their place again, so that the program hears the server as before
    // and a later record can be played the same way.
    for (int channel = 0; channel < 2; ++channel)
    {
        const auto capture = "system:capture_" + std::to_string (channel + 1);
        for (const auto& target : targets[channel])
            jack_connect (player.client, capture.c_str(), target.c_str());
    }

    const bool complete = player.finished.load();
    jack_deactivate (player.client);
    jack_client_close (player.client);

    std::printf ("played %lld frames to %zu ports\n", static_cast<long long> (player.position.load()),
                 targets[0].size() + targets[1].size());
    return complete ? 0 : 5;
}
