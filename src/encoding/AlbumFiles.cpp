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
                                        const juce::String& extension, bool withNumberAndArtist)
{
    juce::String fileName;

    if (withNumberAndArtist)
    {
        if (project.addTrackNumbers)
            fileName << (trackNumber <= 9 ? "0" : "") << trackNumber << " - ";

        if (project.artist.isNotEmpty())
            fileName << juce::File::createLegalFileName (project.artist) << " - ";
    }

    fileName << juce::File::createLegalFileName (name) << extension;
    return keptInsideFolder (fileName);
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

    const juce::File target (project.captureFolder + juce::File::getSeparatorString() +
                             finalFileName (project, name, trackNumber, file.getFileExtension()));

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
