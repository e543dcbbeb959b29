#include "app/EncodeRun.h"

#include "encoding/Convertor.h"
#include "encoding/ItunesMissing.h"
#include "encoding/SaveElsewhere.h"
#include "encoding/WavConvertor.h"
#include "project/Dialogs.h"
#include "project/Project.h"
#include "project/SideRecord.h"

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

juce::String EncodeRun::freePlaceFor (juce::String path, const juce::String& target) const
{
    // A file that is there already belongs to the user unless the run made it: it is not
    // overwritten unasked. A place the user picks in the save dialog, which warns about
    // overwriting, is taken as chosen.
    const auto isOurs = [this] (const juce::String& candidate)
    { return std::find (temporaries.begin(), temporaries.end(), candidate) != temporaries.end(); };

    bool chosenByUser = false;

    while (! juce::File (path).hasWriteAccess() || (! chosenByUser && juce::File (path).exists() && ! isOurs (path)))
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

        const auto wavPath = freePlaceFor (intermediatePath (source, destination), destination);
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

        source = wavPath;
        if (savedFormat != formatWav)
            temporaries.push_back (wavPath);
        project.setTrack (index, formatWav, wavPath);
        restore();
    }

    const auto title = baseName.fromLastOccurrenceOf (separator, false, false);
    const auto convertor = Convertor::forFormat (project.outputFormat);
    destination << Convertor::extensionForFormat (project.outputFormat);
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

    destination = freePlaceFor (destination, destination);
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
    extras->trackFinished (album.moveTrackToAlbum (title, juce::File (destination), index + 1), title, true);
    return true;
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
