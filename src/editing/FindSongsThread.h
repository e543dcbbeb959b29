#pragma once

#include "editing/SongFinder.h"
#include "editing/SongSource.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <functional>

class Project;

/**
    Finds the songs in a source and writes each one into a WAV file of its own (16 bits, stereo,
    at the source's rate), behind a progress window with Cancel. It hears the whole source once,
    decides where to cut, then reads it again and writes the tracks: the new files are the
    source's samples, bit for bit, one track after the other, nothing left out and nothing added.

    The files are written under temporary names in the given folder; the caller gives them their
    names. A Cancel, a source that can't be read or a file that can't be written leaves nothing
    behind: the temporary files are deleted.
*/
class FindSongsThread : public juce::ThreadWithProgressWindow
{
public:
    /** `songs` is the number the user gave, or 0 when the finder decides. */
    FindSongsThread (SongSource& source, int songs, const juce::File& folder, const Project* projectForTexts = nullptr);
    ~FindSongsThread() override;

    void run() override;

    enum class Outcome
    {
        cancelled,
        done,
        notEnoughPlaces,
        unreadable,
        unwritable
    };

    Outcome outcome = Outcome::cancelled;
    std::vector<juce::int64> cuts; // in frames of the source
    std::vector<juce::File> parts; // the new tracks, in order, under temporary names
    int placesFound = 0;           // when there were not enough places: how many there were

    /** Told the share of the work done, on the worker's thread; tests act on it as a user would. */
    std::function<void (double share)> onProgress;

    /** Frames read and written at a time. */
    static constexpr int blockFrames = 16384;

    /** `keepGoing` is told the share done, from 0 to 1, and answers false to stop. */
    using Progress = std::function<bool (double share)>;

    enum class Result
    {
        done,
        stopped,
        unreadable,
        unwritable
    };

    /** Reads the whole source, from its start, into the finder. */
    static Result listen (SongSource& source, SongFinder& finder, const Progress& keepGoing);

    /** Reads the source from its start and writes it into `files`, cut at `cuts` (one file more
        than cuts). A file that was not written whole is deleted with all the others. */
    static Result writeTracks (SongSource& source, const std::vector<juce::int64>& cuts,
                               const std::vector<juce::File>& files, const Progress& keepGoing);

protected:
    /** Puts a status line in the window; the one place the worker's texts pass through. */
    virtual void showStatus (const juce::String& text) { setStatusMessage (text); }

private:
    void deleteParts();

    SongSource& source;
    int songs;
    juce::File folder;
    const Project* project;

    JUCE_DECLARE_NON_COPYABLE (FindSongsThread)
};
