#include "encoding/AlbumFiles.h"

#include "encoding/SaveElsewhere.h"
#include "project/Dialogs.h"
#include "project/Project.h"

#include <juce_graphics/juce_graphics.h>

#include <taglib/fileref.h>
#include <taglib/tag.h>
#include <taglib/tstring.h>

namespace
{
/** The text's UTF-8 bytes, each taken as one Latin-1 character: an accented letter arrives in
    the tag as two or three characters. */
TagLib::String latin1 (const juce::String& text)
{
    return TagLib::String (text.toRawUTF8(), TagLib::String::Latin1);
}

/** The parts with the separator between them. */
juce::String joinedWith (const std::vector<juce::String>& parts, const juce::String& separator)
{
    juce::StringArray all;
    for (const auto& part : parts)
        all.add (part);
    return all.joinIntoString (separator);
}
} // namespace

AlbumFiles::AlbumFiles (Project& projectToUse)
    : project (projectToUse)
{
}

juce::String AlbumFiles::keptInsideFolder (const juce::String& name)
{
    if (name.isEmpty())
        return "_";

    if (name == "." || name == "..")
        return name.replaceCharacter ('.', '_');

    return name;
}

juce::String AlbumFiles::finalFileName (const Project& project, const juce::String& name, int trackNumber,
                                        const juce::String& extension, bool withNumberAndArtist, int maxBytes)
{
    juce::String number;
    const juce::String separator (" - ");
    const bool withArtist = withNumberAndArtist && project.artist.isNotEmpty();

    if (withNumberAndArtist && project.addTrackNumbers)
        number << (trackNumber <= 9 ? "0" : "") << trackNumber << separator;

    // Artist and title share what room the number, the separator and the extension leave.
    auto room = maxBytes - FileNames::bytesOf (number) - FileNames::bytesOf (extension);
    std::vector<juce::String> parts{ FileNames::legal (name) };
    if (withArtist)
    {
        parts.insert (parts.begin(), FileNames::legal (project.artist));
        room -= FileNames::bytesOf (separator);
    }
    parts = FileNames::shared (parts, room);

    juce::String fileName (number);
    if (withArtist)
        fileName << parts.front() << separator;
    fileName << parts.back() << extension;
    return keptInsideFolder (fileName);
}

juce::String AlbumFiles::albumFolderName (const Project& project)
{
    const juce::String separator (" - ");
    std::vector<juce::String> parts;
    for (const auto* text : { &project.artist, &project.album })
        if (text->isNotEmpty())
            parts.push_back (FileNames::legal (*text));

    if (parts.empty())
        return {};

    auto room = FileNames::longestName (juce::File (project.rootDirectory));
    if (parts.size() == 2)
        room -= FileNames::bytesOf (separator);

    // An artist or album of "." or ".." would name the root folder itself or its parent.
    const auto name = joinedWith (FileNames::shared (parts, room), separator);
    return name.isEmpty() ? name : keptInsideFolder (name);
}

//==============================================================================
void AlbumFiles::writeTags (const juce::String& name, const juce::File& file, int trackNumber)
{
    // iTunes tags what it writes.
    if (project.usesItunes())
        return;

    TagLib::FileRef fileRef (file.getFullPathName().toRawUTF8(), true, TagLib::AudioProperties::Average);
    auto* tag = fileRef.isNull() ? nullptr : fileRef.tag();
    if (tag == nullptr)
        return;

    tag->setTitle (latin1 (name));
    tag->setAlbum (latin1 (project.album));
    tag->setArtist (latin1 (project.artist));
    // A year below 0 has no place in a tag's unsigned year: it goes as 0, like text.
    tag->setYear ((unsigned int) juce::jmax (0, project.year.getIntValue()));
    tag->setGenre (latin1 (project.genre));
    tag->setTrack ((unsigned int) juce::jmax (0, trackNumber));

    fileRef.save();
}

juce::File AlbumFiles::moveTrackToAlbum (const juce::String& name, const juce::File& file, int trackNumber)
{
    if (project.usesItunes())
        return file;

    const auto target = finalPlace (name, file, trackNumber);

    // Already at its final name: a second encode into the same folder leaves it be.
    if (target.getFullPathName() == file.getFullPathName())
        return file;

    if (! target.exists())
    {
        if (! file.moveFileTo (target))
        {
            showError (project.translate ("An error occured when trying to move the track"));
            return file;
        }
        return target;
    }

    SaveElsewhere question{ file, target };
    question.ask();

    // The place the user chose, when the file went there.
    return ! file.exists() && question.target.existsAsFile() ? question.target : file;
}

juce::File AlbumFiles::finalPlace (const juce::String& name, const juce::File& file, int trackNumber) const
{
    const auto longest = FileNames::longestName (juce::File (project.captureFolder));
    return juce::File (project.captureFolder + juce::File::getSeparatorString() +
                       finalFileName (project, name, trackNumber, file.getFileExtension(), true, longest));
}

void AlbumFiles::copyCoversToAlbumFolder()
{
    const std::pair<juce::File, const char*> covers[] = { { project.frontCover, "Front" },
                                                          { project.backCover, "Back" } };

    for (const auto& [cover, word] : covers)
    {
        // A picture the program cannot show is still the user's choice: it is copied as it is.
        if (! cover.existsAsFile())
            continue;

        const juce::File target (project.captureFolder + juce::File::getSeparatorString() + word +
                                 cover.getFileExtension());

        // The user's picture may already be the one in the album folder: it stays.
        if (target == cover)
            continue;

        if (target.exists())
            target.deleteFile();

        cover.copyFileTo (target);
    }
}
