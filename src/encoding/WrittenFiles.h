#pragma once

#include <juce_core/juce_core.h>

#include <vector>

/**
    The encode run's record of the files it wrote (the tracks' finished files and the WAV files
    made on the way), so that a later run of the same album may replace them without asking,
    while any other file at the same place is still the user's and is asked about.

    A file counts as the program's own for a track when the record holds it, it is still as the
    run left it (same size, same time of its last change), and it was made from the same
    source as the track's now: the track's file as it then was, same path, same size, same time
    of change. A file the user has since changed or replaced, or one made from another
    recording that happens to have the same name (a new capture's Track1.wav), is not. A WAV
    file that the run made on the way stands for the source it was made from, so that a track
    whose list entry became that WAV file is still the same track.

    The record is a small text file beside the settings, not in the album folder, which holds
    the user's album and nothing else. It keeps the latest `maxEntries` files; one it cannot
    read counts as empty, which only brings the questions back.
*/
class WrittenFiles
{
public:
    /** What a file was when it was looked at: its size and the time of its last change. */
    struct Stamp
    {
        juce::int64 size = -1;
        juce::int64 modified = 0;

        bool operator== (const Stamp& other) const { return size == other.size && modified == other.modified; }
        bool operator!= (const Stamp& other) const { return ! operator== (other); }
    };

    /** A file as it was: its path and its stamp. */
    struct Origin
    {
        juce::String path;
        Stamp stamp;

        bool operator== (const Origin& other) const { return path == other.path && stamp == other.stamp; }
    };

    static constexpr int maxEntries = 4000;
    static constexpr juce::int64 largestRecord = 4 * 1024 * 1024;

    /** The record beside the settings file, loaded. */
    WrittenFiles();

    /** A record kept in `file`, loaded. */
    explicit WrittenFiles (const juce::File& file);

    /** Where the program keeps its record. */
    static juce::File defaultLocation();

    /** The stamp of the file as it is now; a file that does not exist has a size of -1. */
    static Stamp stampOf (const juce::File& file);

    /** What `source` stands for: the source a WAV file of ours was made from, while that WAV
        file is as we left it; otherwise the file itself as it is now. */
    Origin originOf (const juce::File& source) const;

    /** True when the record holds `file`, it is as it was left, and it was made from `origin`. */
    bool isOurs (const juce::File& file, const Origin& origin) const;

    /** Notes that `file`, as it is now, was made from `origin`; a file that does not exist is
        forgotten instead. Call `save` to keep it. */
    void remember (const juce::File& file, const Origin& origin);

    /** Writes the record to its file, whole or not at all. */
    bool save() const;

private:
    struct Entry
    {
        juce::String path;
        Stamp stamp;
        Origin origin;
    };

    void load();
    const Entry* find (const juce::String& path) const;

    juce::File recordFile;
    std::vector<Entry> entries; // oldest first

    JUCE_DECLARE_NON_COPYABLE (WrittenFiles)
};
