#include "encoding/AlbumExtras.h"

#include "encoding/LoudnessScanThread.h"
#include "project/Project.h"

#include <taglib/audioproperties.h>
#include <taglib/fileref.h>

namespace
{
/** Room kept for the tag's own growth beyond the picture: the ReplayGain texts, a frame's header. */
constexpr juce::int64 tagGrowth = 64 * 1024;
} // namespace

AlbumExtras::AlbumExtras (Project& projectToUse)
    : project (projectToUse),
      format (projectToUse.outputFormat),
      taggable (! projectToUse.usesItunes() && FinishedFileTags::formatTakesTags (projectToUse.outputFormat)),
      embedCover (taggable && projectToUse.embedCover),
      replayGain (taggable && projectToUse.replayGain),
      playlist (! projectToUse.usesItunes() && projectToUse.writePlaylist),
      cover (embedCover ? projectToUse.frontCover : juce::File()),
      gainMeter (replayGain)
{
}

void AlbumExtras::conversionFailed()
{
    gainMeter.discardTrack();
}

void AlbumExtras::trackFinished (const juce::File& file, const juce::String& title, bool converted)
{
    std::optional<ReplayGainMeter::Track> measured;
    if (converted)
        measured = gainMeter.finishTrack();

    // A track whose file went astray was reported by the run itself.
    if (! file.existsAsFile())
        return;

    // A cover that cannot go inside is told once, against the cover itself.
    if (embedCover && cover.wasChosen() && ! cover.canEmbed() && ! coverReported)
    {
        couldNotAdd (project.frontCover, project.translate ("Cover inside the files"));
        coverReported = true;
    }

    // A track that was already in the chosen format is read once to measure it.
    if (replayGain && ! converted)
        measured = scan (file);

    std::optional<ReplayGain> gain;
    if (replayGain)
    {
        if (measured.has_value() && measured->measured)
            gain = measured->replayGain;
        else
            couldNotAdd (file, project.translate ("ReplayGain"));
    }

    const bool withCover = embedCover && cover.canEmbed();
    if (withCover || gain.has_value())
    {
        FinishedFileTags tags (file, format);
        if (withCover)
            cover.embedInto (tags);
        if (gain.has_value())
        {
            tags.setText ("REPLAYGAIN_TRACK_GAIN", ReplayGainMeter::gainText (gain->gain));
            tags.setText ("REPLAYGAIN_TRACK_PEAK", ReplayGainMeter::peakText (gain->peak));
        }

        const auto growth = tagGrowth + (withCover ? (juce::int64) cover.getPicture().bytes.getSize() : 0);
        if (! tags.isOpen() || ! roomToGrow (file, growth) || ! tags.save())
        {
            if (withCover)
                couldNotAdd (file, project.translate ("Cover inside the files"));
            if (gain.has_value())
                couldNotAdd (file, project.translate ("ReplayGain"));
            gain.reset();
        }
    }

    finished.push_back ({ file, gain.has_value() });

    if (playlist)
    {
        const int seconds = measured.has_value() ? juce::roundToInt (measured->seconds) : secondsOf (file);
        albumPlaylist.add (file, project.artist, title, seconds);
    }
}

void AlbumExtras::albumFinished()
{
    if (replayGain)
    {
        // Over the tracks that were measured; the others were reported one by one.
        if (const auto album = gainMeter.albumGain())
        {
            for (const auto& track : finished)
            {
                if (! track.hasTrackGain)
                    continue;

                FinishedFileTags tags (track.file, format);
                tags.setText ("REPLAYGAIN_ALBUM_GAIN", ReplayGainMeter::gainText (album->gain));
                tags.setText ("REPLAYGAIN_ALBUM_PEAK", ReplayGainMeter::peakText (album->peak));
                if (! tags.isOpen() || ! roomToGrow (track.file, tagGrowth) || ! tags.save())
                    couldNotAdd (track.file, project.translate ("ReplayGain"));
            }
        }
    }

    if (playlist && ! albumPlaylist.isEmpty())
    {
        const auto name = AlbumPlaylist::fileNameFor (project.album, project.artist);
        const auto target = albumPlaylist.placeIn (juce::File (project.captureFolder), name);
        if (! albumPlaylist.writeTo (target))
            couldNotAdd (target, project.translate ("Playlist"));
    }
}

juce::String AlbumExtras::report() const
{
    if (problems.isEmpty())
        return {};

    return project.translate ("Can't add to the finished files !\nLeaving them as they are:\n") + problems;
}

std::optional<ReplayGainMeter::Track> AlbumExtras::scan (const juce::File& file)
{
    if (format != formatFlac && format != formatOgg)
        return std::nullopt;

    LoudnessScanThread thread (file, gainMeter, project);
    thread.runThread (juce::Thread::Priority::normal);

    if (! thread.result)
    {
        gainMeter.discardTrack();
        return std::nullopt;
    }
    return gainMeter.finishTrack();
}

bool AlbumExtras::roomToGrow (const juce::File& file, juce::int64 bytes)
{
    return file.getBytesFreeOnVolume() > bytes;
}

int AlbumExtras::secondsOf (const juce::File& file)
{
    TagLib::FileRef fileRef (file.getFullPathName().toRawUTF8(), true, TagLib::AudioProperties::Average);
    if (fileRef.isNull() || fileRef.audioProperties() == nullptr)
        return -1;

    return juce::roundToInt (fileRef.audioProperties()->lengthInMilliseconds() / 1000.0);
}

void AlbumExtras::couldNotAdd (const juce::File& file, const juce::String& what)
{
    problems << "\n" << file.getFullPathName() << " : " << what;
}
