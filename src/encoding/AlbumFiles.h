#pragma once

#include "project/FileNames.h"

#include <juce_core/juce_core.h>

class Project;

/**
    What a finished track becomes in the album: its tags, its final name in the album folder,
    and the two cover pictures beside the tracks. The iTunes formats get all of this from
    iTunes itself, so these operations leave them alone.
*/
class AlbumFiles
{
public:
    explicit AlbumFiles (Project& project);

    /** Title, album, artist, year, genre and track number into the finished file. Texts reach
        the tag as their UTF-8 bytes read as Latin-1; a year that is no number is written as 0.
        A file that cannot be opened or has no tag is left as it is, silently. */
    void writeTags (const juce::String& name, const juce::File& file, int trackNumber);

    /** Moves the finished file to its final name in the album folder; when that name is taken
        the user picks another place, and a failed move is reported. The result is where the
        file is afterwards. */
    juce::File moveTrackToAlbum (const juce::String& name, const juce::File& file, int trackNumber);

    /** Where `moveTrackToAlbum` puts the file: its final name in the album folder. */
    juce::File finalPlace (const juce::String& name, const juce::File& file, int trackNumber) const;

    /** Copies the front and back pictures into the album folder as "Front" and "Back" with
        their own extensions. Missing covers, and files that are no picture, are skipped. */
    void copyCoversToAlbumFolder();

    /** "07 - Artist - Title.flac": the number when numbering is on, the artist when known (both
        only `withNumberAndArtist`), then the title and the extension, each made a legal name.
        The whole takes at most `maxBytes` bytes: artist and title are cut on a whole character,
        sharing the room, and the number and the extension stay whole. */
    static juce::String finalFileName (const Project& project, const juce::String& name, int trackNumber,
                                       const juce::String& extension, bool withNumberAndArtist = true,
                                       int maxBytes = FileNames::longestAnywhere);

    /** "Artist - Album" for the folder below the root folder: the artist and the album when
        they are not empty, each made a legal name, and the whole cut to what the root's file
        system takes, the two sharing the room. Empty when both are. */
    static juce::String albumFolderName (const Project& project);

    /** A name that cannot reach outside its folder: "." and ".." (and nothing) would name the
        folder itself or its parent, so their dots become underscores. Other names pass as they are. */
    static juce::String keptInsideFolder (const juce::String& name);

private:
    Project& project;

    JUCE_DECLARE_NON_COPYABLE (AlbumFiles)
};
