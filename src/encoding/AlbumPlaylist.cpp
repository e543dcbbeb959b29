#include "encoding/AlbumPlaylist.h"

#include "encoding/AlbumFiles.h"
#include "project/FileNames.h"

#include <algorithm>

namespace
{
const char* const header = "#EXTM3U";

/** What the playlist's own name leaves to the name of its temporary file and to " (99)". */
constexpr int roomForTemporaryAndCopy = 20;

/** An earlier playlist is a small text; anything larger is not ours. */
constexpr juce::int64 largestEarlierPlaylist = 1024 * 1024;

/** A title stays on its line. */
juce::String oneLine (const juce::String& text)
{
    return text.replaceCharacters ("\r\n", "  ");
}
} // namespace

void AlbumPlaylist::add (const juce::File& file, const juce::String& artist, const juce::String& title, int seconds)
{
    const auto shown = artist.isNotEmpty() ? artist + " - " + title : title;
    entries.push_back ({ file, oneLine (shown), seconds });
}

juce::String AlbumPlaylist::fileNameFor (const juce::String& album, const juce::String& artist)
{
    const auto& name = album.isNotEmpty() ? album : artist;
    if (name.isEmpty())
        return "Playlist.m3u8";

    // Cut, as the album's other names are, to what a file name takes in bytes, with room left
    // for the temporary file it is written through ("_temp" and eight digits) and for the
    // number of a second copy.
    const juce::String extension (".m3u8");
    const auto room = FileNames::longestAnywhere - FileNames::bytesOf (extension) - roomForTemporaryAndCopy;
    return AlbumFiles::keptInsideFolder (FileNames::cutToBytes (FileNames::legal (name), room)) + extension;
}

juce::String AlbumPlaylist::entryLine (const juce::File& file, const juce::File& playlistFile)
{
    auto line = file.getRelativePathFrom (playlistFile.getParentDirectory());

    // A line that starts with '#' would be read as a comment.
    if (line.startsWithChar ('#'))
        line = "." + juce::File::getSeparatorString() + line;
    return line;
}

juce::String AlbumPlaylist::textFor (const juce::File& playlistFile) const
{
    juce::String text (header);
    text << "\n";

    for (const auto& entry : entries)
    {
        text << "#EXTINF:" << entry.seconds << "," << entry.shownTitle << "\n";
        text << entryLine (entry.file, playlistFile) << "\n";
    }
    return text;
}

juce::File AlbumPlaylist::placeIn (const juce::File& folder, const juce::String& fileName) const
{
    const auto target = folder.getChildFile (fileName);
    if (! target.exists())
        return target;

    // An earlier run's playlist of these tracks is replaced; any other file is the user's.
    bool earlier = target.existsAsFile() && target.getSize() <= largestEarlierPlaylist;
    if (earlier)
    {
        const auto lines = juce::StringArray::fromLines (target.loadFileAsString());
        earlier = lines[0].trim() == header;
        int named = 0;

        for (int i = 1; earlier && i < lines.size(); ++i)
        {
            const auto line = lines[i].trim();
            if (line.isEmpty() || line.startsWithChar ('#'))
                continue;

            const auto file = folder.getChildFile (line);
            earlier = std::any_of (entries.begin(), entries.end(),
                                   [&file] (const Entry& entry) { return entry.file == file; });
            ++named;
        }

        earlier = earlier && named > 0;
    }

    if (earlier)
        return target;

    // "Album (2).m3u8", as file managers name a second copy.
    for (int number = 2;; ++number)
    {
        const auto sibling = folder.getChildFile (target.getFileNameWithoutExtension() + " (" + juce::String (number) +
                                                  ")" + target.getFileExtension());
        if (! sibling.exists())
            return sibling;
    }
}

bool AlbumPlaylist::writeTo (const juce::File& playlistFile) const
{
    juce::TemporaryFile temporary (playlistFile);

    {
        juce::FileOutputStream stream (temporary.getFile());
        if (! stream.openedOk())
            return false;

        const auto text = textFor (playlistFile);
        if (! stream.write (text.toRawUTF8(), text.getNumBytesAsUTF8()))
            return false;

        stream.flush();
        if (stream.getStatus().failed())
            return false;
    }

    return temporary.overwriteTargetFileWithTemporary();
}
