// The Project operations on files from outside the capture: files the user brings in, the
// start of a new capture, and the one saved track list of an encode project.
#include "project/Project.h"

#include "capture/TrackWriter.h"

#include "encoding/SaveElsewhere.h"
#include "encoding/WavConvertor.h"
#include "project/Dialogs.h"
#include "project/SafeText.h"

namespace
{
/** The saved list's folder exists afterwards, unless the system refuses; a file standing in
    its place is removed first. */
void makeSureOfTrackListFolder()
{
    const auto folder = Project::savedTrackListFile().getParentDirectory();

    if (folder.existsAsFile())
        folder.deleteFile();

    if (! folder.isDirectory())
        folder.createDirectory();
}

/** The next line, ended by LF, CR, CR LF, a zero byte or the end of the stream. */
juce::String readLine (juce::InputStream& stream)
{
    juce::MemoryOutputStream line;

    while (! stream.isExhausted())
    {
        const auto c = stream.readByte();

        if (c == 0 || c == '\n')
            break;

        if (c == '\r')
        {
            const auto position = stream.getPosition();
            if (stream.readByte() != '\n')
                stream.setPosition (position);
            break;
        }

        line.writeByte (c);
    }

    return SafeText::fromBytes (line.getData(), line.getDataSize());
}
} // namespace

void Project::addTrackFile (const juce::String& path)
{
    const auto lower = path.toLowerCase();

    if (lower.endsWith (".wav") || lower.endsWith (".ogg") || lower.endsWith (".flac") || lower.endsWith (".aif") ||
        lower.endsWith (".aiff"))
    {
        // A file already in the list moves to its end.
        removeTrackNamed (path);

        if (addTrack (path, Track::formatOfPath (path)))
            lastWrittenTrack = trackCount() + 1;

        return;
    }

    if (! (lower.endsWith (".mp3") || lower.endsWith (".m4a")))
        return;

    // The track page edits only what it can read: these become WAV files first, at a place
    // the user confirms.
    auto wavPath = path.upToLastOccurrenceOf (".", false, false) + ".wav";
    const auto keptFormat = outputFormat;
    setOutputFormat (formatWav);

    SaveElsewhere question{ juce::File(), juce::File (wavPath) };
    wavPath = question.ask();

    if (wavPath.isNotEmpty())
    {
        intermediateConversion = true;
        auto convertor = std::make_unique<WavConvertor>();
        const auto keptDestination = encodingDestination;
        encodingDestination.clear();

        if (convertor->convert (path, wavPath, this))
        {
            removeTrackNamed (wavPath);
            if (addTrack (wavPath, formatWav))
                lastWrittenTrack = trackCount() + 1;
        }

        encodingDestination = keptDestination;
        intermediateConversion = false;
    }

    setOutputFormat (keptFormat);
}

void Project::resetForNewCapture()
{
    captureFolder = rootDirectory;
    clearTracks();
    lastWrittenTrack = 0;
    firstTrackPending = -1;

    // The next capture numbers its files afresh.
    if (auto* writer = TrackWriter::getInstance ({}, -1, 0))
        writer->setTrackNumber (-1);

    trackCounter = 0;
    captureRuns = 0;
    captureStarted = true;
}

void Project::clearAlbumData()
{
    album = {};
    artist = {};
    year = {};
    genre = {};
    frontCover = juce::File();
    backCover = juce::File();
}

//==============================================================================
juce::File Project::savedTrackListFile()
{
    return juce::File::getSpecialLocation (juce::File::userDocumentsDirectory)
        .getChildFile ("Tonewell")
        .getChildFile ("Groovesmith")
        .getChildFile ("tracklist.gsp");
}

bool Project::savedTrackListExists() const
{
    return savedTrackListFile().existsAsFile();
}

void Project::saveTrackList()
{
    makeSureOfTrackListFolder();

    const auto file = savedTrackListFile();
    if (file.exists())
        file.deleteFile();

    auto stream = file.createOutputStream (32768);
    if (stream == nullptr)
        return;

    for (const auto& track : tracks)
        stream->writeText (track.path + "\n", false, false, "\r\n");
}

bool Project::loadSavedTrackList()
{
    makeSureOfTrackListFolder();

    const auto file = savedTrackListFile();
    if (! file.existsAsFile())
        return false;

    // Collected apart and joined once: a long list of failures is not rebuilt at every line.
    juce::StringArray failures;

    if (auto input = file.createInputStream())
    {
        juce::BufferedInputStream stream (*input, 32768);

        // The first empty line ends the list.
        while (! stream.isExhausted())
        {
            const auto line = readLine (stream);
            if (line.isEmpty())
                break;

            const auto path = juce::File::createLegalPathName (line);

            if (juce::File::isAbsolutePath (path) && juce::File (path).existsAsFile())
            {
                addTrack (path, Track::formatOfPath (path));
                ++lastWrittenTrack;
            }
            else
            {
                failures.add (path);
            }
        }
    }

    if (failures.isEmpty())
        return file.deleteFile();

    failures.add ({});
    showError (translate ("Failed to load track(s) : ") + failures.joinIntoString ("\n"));
    return false;
}

bool Project::deleteSavedTrackList()
{
    const auto file = savedTrackListFile();
    if (! file.exists())
        return false;

    return file.deleteFile();
}
