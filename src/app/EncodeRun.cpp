#include "app/EncodeRun.h"

#include "encoding/Convertor.h"
#include "encoding/ItunesMissing.h"
#include "encoding/SaveElsewhere.h"
#include "encoding/WavConvertor.h"
#include "project/Dialogs.h"
#include "project/FileNames.h"
#include "project/Project.h"
#include "project/SideRecord.h"
#include "project/WriteCheck.h"

#include <algorithm>

namespace
{
/** The extras' report below the run's failure message, apart from it by an empty line. */
juce::String extrasReport (const AlbumExtras& extras)
{
    const auto report = extras.report();
    return report.isEmpty() ? juce::String() : "\n\n" + report;
}
} // namespace

EncodeRun::EncodeRun (Project& projectToUse, AlbumFiles& albumToUse)
    : project (projectToUse),
      album (albumToUse)
{
}

juce::String EncodeRun::intermediatePath (const juce::String& source, const juce::String& destination)
{
    const auto cut = source.lastIndexOf (".");
    const auto folderPrefix =
        juce::File (destination).getParentDirectory().getFullPathName() + juce::File::getSeparatorString();

    // The cut may shorten the name, as it always has, but must leave one in the destination's folder.
    if (juce::jmin (cut, destination.length()) <= folderPrefix.length())
        return destination + ".wav";

    return destination.substring (0, cut) + ".wav";
}

bool EncodeRun::run()
{
    // However the run ends, what it wrote is known to the next one.
    const juce::ScopeGuard keepRecord{ [this] { recordWrittenFiles(); } };

    album.copyCoversToAlbumFolder();

    project.encodingDestination.clear();
    if (project.projectType == encodeProject)
        chooseDestination();

    temporaries = project.temporaryFileList();
    failedTracks.clear();
    allConverted = true;
    extras = std::make_unique<AlbumExtras> (project);

    // The count is read afresh for each track.
    for (int i = 0; i < project.trackCount(); ++i)
        if (! encodeTrack (i))
            return false;

    if (! allConverted && failedTracks.isNotEmpty())
    {
        // Nothing is deleted: the user keeps every source and may try again.
        if (project.usesItunes())
            showItunesMissing (&project);
        else
            showError (project.translate ("Can't convert audio files !\nLeavings wav files as is:\n") + failedTracks +
                       extrasReport (*extras));
        return false;
    }

    extras->albumFinished();
    cleanUp();

    // What the finished files could not be given is told last, once they are all done.
    if (const auto report = extras->report(); report.isNotEmpty())
        showError (report);
    return true;
}

void EncodeRun::chooseDestination()
{
    FileRequest request;
    request.mode = FileRequest::Mode::directory;
    request.title = project.translate ("Please select the encoding destination");
    request.initial = juce::File (project.rootDirectory);

    juce::File chosen;
    if (Dialogs::get().chooseFile (request, chosen) && chosen.isDirectory())
        project.encodingDestination = chosen.getFullPathName();
}

bool EncodeRun::isOurs (const juce::String& path, const WrittenFiles::Origin& origin) const
{
    return std::find (temporaries.begin(), temporaries.end(), path) != temporaries.end() ||
           record.isOurs (juce::File (path), origin);
}

juce::String EncodeRun::freePlaceFor (juce::String path, const juce::String& target,
                                      const WrittenFiles::Origin& origin) const
{
    // A file that is there already belongs to the user unless the program made it for this
    // track: it is not overwritten unasked. A place the user picks in the save dialog, which
    // warns about overwriting, is taken as chosen. Whether the place can be written is tried
    // as the write will try it.
    bool chosenByUser = false;

    while (! WriteCheck::canWrite (juce::File (path)) ||
           (! chosenByUser && juce::File (path).exists() && ! isOurs (path, origin)))
    {
        SaveElsewhere question{ juce::File(), juce::File (target) };
        path = question.ask();

        // Cancelled: the track is left out rather than asked about for ever.
        if (path.isEmpty())
            return {};

        chosenByUser = true;
    }

    return path;
}

void EncodeRun::trackFailed (const juce::String& source)
{
    failedTracks << "\n" << source;
    allConverted = false;
}

bool EncodeRun::encodeTrack (int index)
{
    const auto separator = juce::File::getSeparatorString();

    auto source = project.trackPath (index);
    const juce::File sourceFile (source);

    // What the track is made from, by which the files of an earlier run for it are known.
    const auto origin = record.originOf (sourceFile);
    auto baseName =
        sourceFile.getParentDirectory().getFullPathName() + separator + sourceFile.getFileNameWithoutExtension();
    auto destination = baseName;

    if (project.encodingDestination.isNotEmpty())
        destination = project.encodingDestination + separator + juce::File (destination).getFileName();

    // Formats the convertors cannot read become WAV first; iTunes reads all but FLAC itself.
    const auto trackFormat = project.trackFormat (index);
    const bool needsWav = trackFormat != project.outputFormat && trackFormat != formatWav &&
                          (! project.usesItunes() || trackFormat == formatFlac);

    if (needsWav)
    {
        const auto savedFormat = project.outputFormat;
        project.setOutputFormat (formatWav);
        project.intermediateConversion = true;

        const auto restore = [this, savedFormat]
        {
            project.intermediateConversion = false;
            project.setOutputFormat (savedFormat);
        };

        const auto wavPath = freePlaceFor (intermediatePath (source, destination), destination, origin);
        if (wavPath.isEmpty())
        {
            restore();
            trackFailed (source);
            return true;
        }

        WavConvertor wavConvertor;
        if (! wavConvertor.convert (source, wavPath, &project))
        {
            // What cannot be decoded here is what only iTunes reads.
            restore();
            showItunesMissing (&project);
            return false;
        }

        written.emplace_back (wavPath, origin);
        source = wavPath;
        if (savedFormat != formatWav)
            temporaries.push_back (wavPath);
        project.setTrack (index, formatWav, wavPath);
        restore();
    }

    const auto title = baseName.fromLastOccurrenceOf (separator, false, false);
    const auto convertor = Convertor::forFormat (project.outputFormat);
    destination << Convertor::extensionForFormat (project.outputFormat);
    destination = FileNames::fitted (juce::File (destination)).getFullPathName();
    project.encodingTrackNumber = index + 1;

    const bool tagged = project.outputFormat > formatAiff;

    // Already in the chosen format: only tags and the final name.
    if (project.trackFormat (index) == project.outputFormat)
    {
        if (tagged)
            album.writeTags (title, juce::File (source), index + 1);
        extras->trackFinished (album.moveTrackToAlbum (title, juce::File (source), index + 1), title, false);
        return true;
    }

    destination = freePlaceFor (destination, destination, origin);
    if (destination.isEmpty())
    {
        trackFailed (source);
        return true;
    }

    convertor->measureWith (extras->meter());
    if (! convertor->convert (source, destination, &project))
    {
        extras->conversionFailed();
        trackFailed (source);
        return true;
    }

    written.emplace_back (destination, origin);

    // Once the run has made a temporary file, the source of every later track goes too.
    if (project.outputFormat != formatMp3Lame && ! temporaries.empty() && ! project.keepWaves)
        juce::File (source).deleteFile();

    // iTunes takes its file away to the library: that track is done.
    if (! juce::File (destination).exists())
    {
        allConverted = false;
        return true;
    }

    if (tagged)
        album.writeTags (title, juce::File (destination), index + 1);
    extras->trackFinished (moveToAlbum (title, destination, index + 1, origin), title, true);
    return true;
}

juce::File EncodeRun::moveToAlbum (const juce::String& title, const juce::String& file, int trackNumber,
                                   const WrittenFiles::Origin& origin)
{
    // iTunes names and places its files itself.
    if (project.usesItunes())
        return album.moveTrackToAlbum (title, juce::File (file), trackNumber);

    // An earlier run's file for this very track gives way to the new one; any other file at
    // the final name is the user's, and the move asks where to go instead.
    const auto target = album.finalPlace (title, juce::File (file), trackNumber);
    if (target.getFullPathName() != file && isOurs (target.getFullPathName(), origin))
        target.deleteFile();

    const auto placed = album.moveTrackToAlbum (title, juce::File (file), trackNumber);
    if (placed.getFullPathName() != file)
        written.emplace_back (placed.getFullPathName(), origin);
    return placed;
}

void EncodeRun::recordWrittenFiles()
{
    if (written.empty())
        return;

    // Files that went on (moved, deleted as temporaries) are forgotten as they are noted.
    for (const auto& [path, origin] : written)
        record.remember (juce::File (path), origin);

    written.clear();
    record.save();
}

void EncodeRun::cleanUp()
{
    if (project.keepWaves)
        return;

    if (project.projectType == ripProject && project.outputFormat != formatWav)
    {
        // The side files of the captures go with the tracks.
        project.deleteAllTracks (false);
        return;
    }

    // The tracks themselves became the album: the sides they were cut from are done with too.
    if (project.projectType == ripProject)
    {
        juce::StringArray paths;
        for (int i = 0; i < project.trackCount(); ++i)
            paths.add (project.trackPath (i));
        SideRecord::deleteSidesOf (paths);
    }

    for (auto it = temporaries.rbegin(); it != temporaries.rend(); ++it)
        juce::File (*it).deleteFile();
}
