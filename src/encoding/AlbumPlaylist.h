#pragma once

#include <juce_core/juce_core.h>

#include <vector>

/**
    The album's playlist: an extended M3U file in UTF-8 ("<album>.m3u8") that names the finished
    tracks in their order, relative to its own folder, each with its length in whole seconds
    and its title as players show it.
*/
class AlbumPlaylist
{
public:
    /** A finished track; `seconds` below 0 when its length is not known. */
    void add (const juce::File& file, const juce::String& artist, const juce::String& title, int seconds);

    bool isEmpty() const { return entries.empty(); }

    /** "<album>.m3u8", else "<artist>.m3u8", else "Playlist.m3u8", made a legal name as the album
        folder's is. */
    static juce::String fileNameFor (const juce::String& album, const juce::String& artist);

    /** The playlist's text as it is written into `playlistFile`. */
    juce::String textFor (const juce::File& playlistFile) const;

    /** Where the playlist goes in `folder`: its own name, unless a file there holds something
        else than an earlier playlist of these same tracks, which is then left alone and the
        playlist takes a free name beside it. */
    juce::File placeIn (const juce::File& folder, const juce::String& fileName) const;

    /** Writes the playlist whole or not at all; false when it could not be written. */
    bool writeTo (const juce::File& playlistFile) const;

private:
    struct Entry
    {
        juce::File file;
        juce::String shownTitle;
        int seconds;
    };

    /** The line that names a track, relative to the playlist's folder. */
    static juce::String entryLine (const juce::File& file, const juce::File& playlistFile);

    std::vector<Entry> entries;
};
