#include "editing/CapturedSide.h"

#include "project/AudioReaders.h"
#include "project/Project.h"
#include "project/SideRecord.h"

#include <juce_audio_formats/juce_audio_formats.h>

namespace
{
/** Frames compared at each place a row is checked: enough that changed audio can't pass. */
constexpr int probeFrames = 2048;

/** A stretch of the side, in its frames. */
struct Piece
{
    juce::int64 first = 0, length = 0;
};

/** The side's samples, read a few at a time to be laid beside a row's. */
class SideSamples
{
public:
    explicit SideSamples (const juce::File& side)
        : reader (AudioReaders::open (side, wav))
    {
    }

    bool isOpen() const { return reader != nullptr; }
    juce::int64 getLength() const { return reader->lengthInSamples; }

    /** A reader of a row's file when it is audio as the side has it (16-bit stereo WAV at the
        side's rate), so that its samples can be the side's; null otherwise. */
    std::unique_ptr<juce::AudioFormatReader> openTrack (const juce::File& file)
    {
        auto track = AudioReaders::open (file, wav);
        if (track == nullptr || track->numChannels != 2 || track->bitsPerSample != 16 || track->usesFloatingPointData ||
            track->sampleRate != reader->sampleRate)
            return {};
        return track;
    }

    /** Whether the row's frames from `from` on are the side's from `sideFrom` on, `count` of them. */
    bool same (juce::AudioFormatReader& track, juce::int64 from, juce::int64 sideFrom, int count)
    {
        if (count <= 0)
            return true;
        if (from < 0 || sideFrom < 0 || sideFrom + count > reader->lengthInSamples ||
            from + count > track.lengthInSamples)
            return false;

        int* ours[] = { rowLeft.data(), rowRight.data() };
        int* theirs[] = { sideLeft.data(), sideRight.data() };
        if (! track.read (ours, 2, from, count, false) || ! reader->read (theirs, 2, sideFrom, count, false))
            return false;

        return std::equal (rowLeft.begin(), rowLeft.begin() + count, sideLeft.begin()) &&
               std::equal (rowRight.begin(), rowRight.begin() + count, sideRight.begin());
    }

    /** Whether the row holds the side's frames of `pieces`, one after the other, up to its own
        length: all of them, or the first part of them where a split took the rest away. Each
        stretch is compared at its start, its middle and its end. */
    bool holds (juce::AudioFormatReader& track, const std::vector<Piece>& pieces)
    {
        const auto length = track.lengthInSamples;
        juce::int64 offset = 0;

        for (const auto& piece : pieces)
        {
            if (offset >= length)
                break;

            const auto count = juce::jmin (piece.length, length - offset);
            for (const auto start : { (juce::int64) 0, count / 2 - probeFrames / 2, count - probeFrames })
            {
                const auto from = juce::jlimit ((juce::int64) 0, count, start);
                const int n = (int) juce::jmin ((juce::int64) probeFrames, count - from);
                if (! same (track, offset + from, piece.first + from, n))
                    return false;
            }

            offset += count;
        }

        return offset == length;
    }

private:
    juce::WavAudioFormat wav;
    std::unique_ptr<juce::AudioFormatReader> reader;
    std::vector<int> rowLeft = std::vector<int> (probeFrames), rowRight = std::vector<int> (probeFrames);
    std::vector<int> sideLeft = std::vector<int> (probeFrames), sideRight = std::vector<int> (probeFrames);
};

/** The side's frame after the last one that `length` frames of `pieces` reach. */
juce::int64 endOf (const std::vector<Piece>& pieces, juce::int64 length)
{
    juce::int64 end = pieces.front().first;
    for (const auto& piece : pieces)
    {
        if (length <= 0)
            break;
        const auto count = juce::jmin (piece.length, length);
        end = piece.first + count;
        length -= count;
    }
    return end;
}
} // namespace

std::optional<CapturedSide> capturedSideOf (const Project& project, int row)
{
    if (project.projectType == encodeProject || ! juce::isPositiveAndBelow (row, project.trackCount()))
        return std::nullopt;

    // The row's side; for a part split off a track, the side of the track above it.
    std::optional<SideRecord> record;
    for (int r = row; r >= 0 && ! record.has_value(); --r)
        record = SideRecord::findFor (project.trackPath (r));

    if (! record.has_value() || ! record->canBeCutAgain())
        return std::nullopt;

    SideSamples side (record->getSideFile());
    if (! side.isOpen())
        return std::nullopt;

    CapturedSide found{ record->getSideFile(), {}, {}, record->getRecordFile() };
    const auto& places = record->getPlaces();

    // Where the audio of the row above ends in the side, while that row is the side's.
    juce::int64 cursor = -1;

    for (int r = 0; r < project.trackCount(); ++r)
    {
        const juce::File file (project.trackPath (r));
        const auto* place = record->placeOf (file.getFullPathName());

        if (place == nullptr)
        {
            // A part that a split took off the row above goes on where that row ends.
            if (cursor >= 0)
            {
                if (auto track = side.openTrack (file))
                {
                    const auto length = track->lengthInSamples;
                    if (length > 0 && cursor + length <= side.getLength() &&
                        side.holds (*track, { { cursor, length } }))
                    {
                        found.rows.add (r);
                        found.spans.push_back ({ cursor, cursor + length });
                        cursor += length;
                        continue;
                    }
                }
            }

            cursor = -1;
            continue;
        }

        // A track file that is gone has nothing the side lacks.
        if (! file.existsAsFile())
        {
            found.rows.add (r);
            found.spans.push_back ({ place->first, place->first + place->length });
            cursor = -1;
            continue;
        }

        auto track = side.openTrack (file);
        if (track == nullptr)
            return std::nullopt;

        // Its own place, and those after it whose tracks left the list, as a merge takes them.
        std::vector<Piece> pieces{ { place->first, place->length } };
        auto total = place->length;
        for (auto next = (size_t) (place - places.data()) + 1;
             next < places.size() && total < track->lengthInSamples && ! project.containsTrack (places[next].path);
             ++next)
        {
            pieces.push_back ({ places[next].first, places[next].length });
            total += places[next].length;
        }

        // Audio the side does not hold: what the user made of the row would be lost.
        if (! side.holds (*track, pieces))
            return std::nullopt;

        cursor = endOf (pieces, track->lengthInSamples);
        found.rows.add (r);
        found.spans.push_back ({ place->first, cursor });
    }

    if (! found.rows.contains (row))
        return std::nullopt;

    return found;
}
