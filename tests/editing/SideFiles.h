#pragma once

// A captured side made by the tests: the side file as a capture keeps it, its record, and track
// files cut from it where the capture's silence rule would have cut it (badly), in the list of a
// rip project. Everything that finding the songs and the side window start from.
#include "project/SideRecord.h"

#include "RecordSides.h"
#include "TrackPageFixture.h"

#include <map>

namespace sidefiles
{
using namespace trackpage_test;

/** Frames of a generated side through 16 bits, as a capture writes them. */
inline WavFiles::Audio slice (const recordsides::Side& side, juce::int64 from, juce::int64 to)
{
    WavFiles::Audio audio;
    audio.rate = side.rate;
    audio.channels.assign (2, {});
    audio.channels[0].reserve ((size_t) (to - from));
    audio.channels[1].reserve ((size_t) (to - from));
    for (auto i = from; i < to; ++i)
    {
        audio.channels[0].push_back ((int) std::lround (juce::jlimit (-1.0f, 1.0f, side.left[(size_t) i]) * 32767.0f));
        audio.channels[1].push_back ((int) std::lround (juce::jlimit (-1.0f, 1.0f, side.right[(size_t) i]) * 32767.0f));
    }
    return audio;
}

/** The same frames of audio already at 16 bits. */
inline WavFiles::Audio slice (const WavFiles::Audio& audio, juce::int64 from, juce::int64 to)
{
    WavFiles::Audio part;
    part.rate = audio.rate;
    part.bits = audio.bits;
    for (const auto& channel : audio.channels)
        part.channels.emplace_back (channel.begin() + from, channel.begin() + to);
    return part;
}

/** Two pieces of audio, one after the other. */
inline WavFiles::Audio joined (const WavFiles::Audio& first, const WavFiles::Audio& second)
{
    auto both = first;
    for (size_t c = 0; c < both.channels.size(); ++c)
        both.channels[c].insert (both.channels[c].end(), second.channels[c].begin(), second.channels[c].end());
    return both;
}

/** Six songs with short gaps, quiet intros, a soft passage and a fade-in: a side the capture's
    rule cuts wrongly. */
inline const recordsides::Side& sixSongs()
{
    static const auto side = []
    {
        recordsides::SideSpec spec;
        spec.name = "six songs";
        spec.noiseDb = -52.0;
        spec.songs = { recordsides::Song{ 10.0, -18.0 },
                       recordsides::Song{ 11.0, -20.0, true },
                       recordsides::Song{ 12.0, -17.0, false, false, true },
                       recordsides::Song{ 10.0, -19.0, false, true },
                       recordsides::Song{ 10.0, -18.0, false, false, false, false },
                       recordsides::Song{ 11.0, -21.0, true } };
        spec.gaps = { 1.5, 2.5, 1.5, 3.0, 1.8 };
        spec.seed = 4242;
        return recordsides::render (spec);
    }();
    return side;
}

/** Every file in the folder, with its bytes. */
inline std::map<juce::String, juce::MemoryBlock> filesIn (const juce::File& folder)
{
    std::map<juce::String, juce::MemoryBlock> files;
    for (const auto& file : folder.findChildFiles (juce::File::findFiles, false, "*", juce::File::FollowSymlinks::no))
        files[file.getFileName()] = bytesOf (file);
    return files;
}

/** A rip project with a captured side in its folder. */
class CapturedSideTest : public TrackFilesTest
{
protected:
    /** Side1.wav with the whole side, and its record, with no tracks yet. */
    void writeSide (const recordsides::Side& generated = sixSongs())
    {
        side = generated;
        sideAudio = slice (side, 0, side.frames());
        sideFile = folder.getChildFile ("Side1.wav");
        WavFiles::write (sideFile, sideAudio);
        record = std::make_unique<SideRecord> (sideFile, (int) side.rate);
        record->setEnded (true);
        record->setSideSamples (side.frames());
        ASSERT_TRUE (record->save());
    }

    /** A track file holding frames [first, first + length) of the side, at the end of the list
        and in the side's record. */
    juce::File addTrackOfTheSide (const juce::String& name, juce::int64 first, juce::int64 length)
    {
        const auto file = addWav (name, slice (sideAudio, first, first + length));
        record->setPlace ({ file.getFullPathName(), first, length });
        EXPECT_TRUE (record->save());
        return file;
    }

    /** The tracks a capture would have made of the six songs: the first two as one track (the gap
        between them too short), the third cut in two at its soft passage, the rest as one again. */
    void captureTheSideBadly()
    {
        writeSide();
        const auto& songs = side.audible;
        const auto soft = (songs[2].start + songs[2].end) / 2;
        const std::pair<juce::int64, juce::int64> cut[] = { { songs[0].start, songs[1].end },
                                                            { songs[2].start, soft },
                                                            { soft + 22050, songs[5].end } };
        for (const auto& [first, end] : cut)
        {
            const auto name = "Track" + juce::String (tracks.size() + 1) + ".wav";
            tracks.add (addTrackOfTheSide (name, first, end - first));
            places.push_back ({ tracks.getLast().getFullPathName(), first, end - first });
        }
    }

    /** The side's record as it is on the disk now. */
    SideRecord recordOnDisk() const
    {
        auto onDisk = SideRecord::load (SideRecord::recordFileFor (sideFile));
        EXPECT_TRUE (onDisk.has_value());
        return onDisk.value_or (SideRecord (sideFile, 0));
    }

    /** Each row's file holds the side's frames from `cuts` to the next, bit for bit, in order. */
    void expectTheSideCutAt (const std::vector<juce::int64>& cuts, const juce::StringArray& paths)
    {
        ASSERT_EQ ((int) cuts.size() + 1, paths.size());
        for (int k = 0; k < paths.size(); ++k)
        {
            const auto from = k == 0 ? 0 : cuts[(size_t) k - 1];
            const auto to = k == paths.size() - 1 ? side.frames() : cuts[(size_t) k];
            const auto actual = WavFiles::read (juce::File (paths[k]));
            EXPECT_EQ (actual.bits, 16);
            EXPECT_EQ (actual.rate, side.rate);
            EXPECT_TRUE (actual.channels == slice (sideAudio, from, to).channels)
                << "track " << k + 1 << " is not the side's audio from " << from << " to " << to;
        }
    }

    recordsides::Side side;
    WavFiles::Audio sideAudio;
    juce::File sideFile;
    std::unique_ptr<SideRecord> record;
    std::vector<SideRecord::Place> places;
    juce::Array<juce::File> tracks;
};
} // namespace sidefiles
